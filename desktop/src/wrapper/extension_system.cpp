#include "extension_system.h"

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "../channel.h"
#include "ppapi/c/pp_errors.h"
#include "ppapi/c/ppb_var.h"

namespace lumivex::desktop {
namespace {

constexpr char kEmbedderName[] = "KelvoWRT";

struct Answers {
  const PPB_Var* vars = nullptr;
  std::set<std::string, std::less<>> denied;  // the last parts of privilege URIs
  std::optional<int32_t> window_id;
};

// Filled before the plug-in gets the table, then read-only.
Answers& TheAnswers() {
  static Answers& answers = *new Answers;
  return answers;
}

PP_Var BoolVar(bool value) {
  PP_Var var{};
  var.type = PP_VARTYPE_BOOL;
  var.value.as_bool = value ? PP_TRUE : PP_FALSE;
  return var;
}

PP_Var IntVar(int32_t value) {
  PP_Var var{};
  var.type = PP_VARTYPE_INT32;
  var.value.as_int = value;
  return var;
}

// Empty if var is not a string; valid as long as the var.
std::string_view TextOf(const PP_Var& var) {
  uint32_t length = 0;
  const char* text =
      var.type == PP_VARTYPE_STRING ? TheAnswers().vars->VarToUtf8(var, &length) : nullptr;
  return text == nullptr ? std::string_view() : std::string_view(text, length);
}

bool IsGranted(std::string_view uri) {
  constexpr std::string_view kFolder = "/privilege/";
  const std::size_t folder = uri.find(kFolder);
  if (folder == std::string_view::npos) {
    return false;
  }
  const std::string_view name = uri.substr(folder + kFolder.size());
  return (name == "lumivexplayer" || name == "lumivexrfmanager") &&
         TheAnswers().denied.count(name) == 0;
}

PP_Var GetEmbedderName(PP_Instance /*instance*/) {
  return TheAnswers().vars->VarFromUtf8(kEmbedderName, sizeof kEmbedderName - 1);
}

PP_Var GetCurrentExtensionInfo(PP_Instance /*instance*/) {
  return {};
}

int32_t GenericSyncCall(PP_Instance /*instance*/, PP_Var operation, PP_Var data, PP_Var* result) {
  const std::string_view name = TextOf(operation);
  if (name == "check_ace_privilege") {
    *result = BoolVar(IsGranted(TextOf(data)));
  } else if (name == "get_window_id" && TheAnswers().window_id) {
    *result = IntVar(*TheAnswers().window_id);
  } else if (name == "set_ime_recommended_words" || name == "set_ime_recommended_words_type") {
    *result = BoolVar(true);  // no on-screen keyboard
  } else {
    return PP_ERROR_FAILED;
  }
  return PP_OK;
}

constexpr PPB_ExtensionSystem_Quorvel_0_1 kTable = {GetEmbedderName, GetCurrentExtensionInfo,
                                                    GenericSyncCall};

std::string_view Environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string_view() : std::string_view(value);
}

}  // namespace

const PPB_ExtensionSystem_Quorvel_0_1* MakeExtensionSystem(PPB_GetInterface get_browser_interface) {
  Answers& answers = TheAnswers();
  answers.vars = static_cast<const PPB_Var*>(get_browser_interface(PPB_VAR_INTERFACE));
  if (answers.vars == nullptr) {
    return nullptr;
  }
  answers.denied.clear();
  for (std::string_view rest = Environment(kDenyVariable); !rest.empty();) {
    const std::size_t comma = std::min(rest.find(','), rest.size());
    answers.denied.emplace(rest.substr(0, comma));
    rest.remove_prefix(std::min(comma + 1, rest.size()));
  }
  const std::string_view id = Environment(kWindowIdVariable);
  int32_t number = 0;
  const bool is_number =
      std::from_chars(id.data(), id.data() + id.size(), number).ec == std::errc();
  answers.window_id = is_number ? std::optional<int32_t>(number) : std::nullopt;
  return &kTable;
}

}  // namespace lumivex::desktop
