#include "host/extension_system.h"

#include <utility>

#include "ppapi/c/pp_errors.h"

namespace lumivex::host {

namespace {

std::string TextOf(VarTable& vars, PP_Var var) {
  if (var.type != PP_VARTYPE_STRING) {
    return "";
  }
  uint32_t length = 0;
  const char* const text = vars.ToUtf8(var, &length);
  return text == nullptr ? "" : std::string(text, length);
}

// "/privilege/x" of "http://host/privilege/x"; empty for any other text.
std::string PathOf(const std::string& uri) {
  const std::string scheme = "http://";
  if (uri.compare(0, scheme.size(), scheme) != 0) {
    return "";
  }
  const std::size_t slash = uri.find('/', scheme.size());
  return slash == std::string::npos || slash == scheme.size() ? "" : uri.substr(slash);
}

}  // namespace

ExtensionSystem::ExtensionSystem(ExtensionAnswers answers) : answers_(std::move(answers)) {}

ExtensionSystem::~ExtensionSystem() = default;

bool ExtensionSystem::HasPrivilege(const std::string& uri) const {
  const std::string path = PathOf(uri);
  return answers_.known_privileges.count(path) > 0 && answers_.denied_privileges.count(path) == 0 &&
         answers_.denied_privileges.count(uri) == 0;
}

PP_Var ExtensionSystem::GetEmbedderName(VarTable& vars, PP_Instance) {
  return vars.FromUtf8(answers_.embedder_name);
}

PP_Var ExtensionSystem::GetCurrentExtensionInfo(VarTable& vars, PP_Instance) {
  return vars.CreateDictionary();
}

int32_t ExtensionSystem::GenericSyncCall(
    VarTable& vars, PP_Instance, PP_Var operation, PP_Var data, PP_Var* result) {
  const std::string name = TextOf(vars, operation);
  if (name == "check_ace_privilege") {
    *result = BoolVar(HasPrivilege(TextOf(vars, data)));
    return PP_OK;
  }
  if (name == "get_window_id" && answers_.window_id) {
    *result = IntVar(*answers_.window_id);
    return PP_OK;
  }
  if (name == "set_ime_recommended_words" || name == "set_ime_recommended_words_type") {
    *result = BoolVar(true);
    return PP_OK;
  }
  return PP_ERROR_FAILED;
}

}  // namespace lumivex::host
