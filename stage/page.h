#ifndef STAGE_PAGE_H_
#define STAGE_PAGE_H_

// The page's side, and the browser's private services behind the plug-in.

#include <functional>
#include <string>

#include "host/browser.h"

namespace lumivex::test {

// The private services of the browser. A call appears in the journal as "bridge operation data".
class PrivateServices : public host::ExtensionSystem {
 public:
  // Grants both privileges and gives window 7, unless told otherwise by the call: "operation data".
  std::function<int32_t(PP_Instance instance, const std::string& call, PP_Var* result)> answer;
  host::Json embedder_name = "KelvoWRT";
  bool player_privilege = true;
  bool tuner_privilege = true;

  PP_Var GetEmbedderName(host::VarTable& vars, PP_Instance instance) override;
  int32_t GenericSyncCall(host::VarTable& vars,
                          PP_Instance instance,
                          PP_Var operation,
                          PP_Var data,
                          PP_Var* result) override;
};

// A var with its types: 2, double 2, "text", null, {"key": 1}.
std::string Describe(host::VarTable* vars, PP_Var var);

// The reply to a blocking message, as Describe has it; "no answer: " and the outcome without one.
std::string Ask(host::VarTable* vars, host::Page* page, PP_Var message);

}  // namespace lumivex::test

#endif  // STAGE_PAGE_H_
