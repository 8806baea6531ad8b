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

// What the runtime answers an application.
struct ExtensionAnswers {
  // A privilege is granted if its URI has one of these paths ...
  std::set<std::string> known_privileges = {"/privilege/lumivexplayer",
                                            "/privilege/lumivexrfmanager"};
  // ... and neither its path nor its URI is denied.
  std::set<std::string> denied_privileges;
  std::optional<int32_t> window_id = 1;  // none: the operation fails
  std::string embedder_name = "KelvoWRT";
};

// The television's private services behind "PPB_ExtensionSystem_Quorvel;0.1". Derive from it for
// other answers.
//
// Called on the plug-in's calling threads. Vars passed in are borrowed; a returned var comes with
// one reference, which the plug-in owns.
class ExtensionSystem {
 public:
  explicit ExtensionSystem(ExtensionAnswers answers = {});
  virtual ~ExtensionSystem();

  virtual PP_Var GetEmbedderName(VarTable& vars, PP_Instance instance);
  virtual PP_Var GetCurrentExtensionInfo(VarTable& vars, PP_Instance instance);
  // 0 on success, with *result set; otherwise *result is ignored. Knows
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
