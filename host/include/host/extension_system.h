#ifndef HOST_EXTENSION_SYSTEM_H_
#define HOST_EXTENSION_SYSTEM_H_

#include <cstdint>
#include <optional>
#include <set>
#include <string>

#include "host/vars.h"
#include "ppapi/c/pp_instance.h"
#include "ppapi/c/pp_var.h"

namespace lumivex::host {

// What the television's runtime would answer an application.
struct ExtensionAnswers {
  // A privilege is granted when its URI has one of these paths ...
  std::set<std::string> known_privileges = {"/privilege/lumivexplayer",
                                            "/privilege/lumivexrfmanager"};
  // ... and neither its path nor the whole URI is here.
  std::set<std::string> denied_privileges;
  std::optional<int32_t> window_id = 1;  // none: the operation fails
  std::string embedder_name = "KelvoWRT";
};

// The television's private services behind "PPB_ExtensionSystem_Quorvel;0.1". Derive from it to
// answer otherwise.
//
// Called on the thread on which the plug-in calls, so possibly on several. Vars given are borrowed,
// vars returned belong to the plug-in with one reference.
class ExtensionSystem {
 public:
  explicit ExtensionSystem(ExtensionAnswers answers = {});
  virtual ~ExtensionSystem();

  virtual PP_Var GetEmbedderName(VarTable& vars, PP_Instance instance);
  virtual PP_Var GetCurrentExtensionInfo(VarTable& vars, PP_Instance instance);
  // 0 on success, with *result set; otherwise *result is not looked at. Knows
  // "check_ace_privilege", "get_window_id", "set_ime_recommended_words" and
  // "set_ime_recommended_words_type".
  virtual int32_t GenericSyncCall(
      VarTable& vars, PP_Instance instance, PP_Var operation, PP_Var data, PP_Var* result);

 private:
  bool HasPrivilege(const std::string& uri) const;

  const ExtensionAnswers answers_;
};

}  // namespace lumivex::host

#endif  // HOST_EXTENSION_SYSTEM_H_
