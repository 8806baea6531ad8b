#include "ExtensionSystemQuorvel.h"

#include <ppapi/c/quorvel/ppb_extension_system_quorvel.h>

namespace pp {

namespace {

constexpr char kCheckPrivilegeOperationName[] = "check_ace_privilege";
constexpr char kGetWindowIdOperationName[] = "get_window_id";
constexpr char kSetIMERecommendedWordsName[] = "set_ime_recommended_words";
constexpr char kSetIMERecommendedWordsTypeName[] = "set_ime_recommended_words_type";
constexpr char kWrtEmbedderName[] = "KelvoWRT";

template <typename Interface>
const Interface* get_interface();

template <>
const PPB_ExtensionSystem_Quorvel_0_1* get_interface<PPB_ExtensionSystem_Quorvel_0_1>() {
  static const auto* const funcs = static_cast<const PPB_ExtensionSystem_Quorvel_0_1*>(
      Module::Get()->GetBrowserInterface(PPB_EXTENSIONSYSTEM_QUORVEL_INTERFACE_0_1));
  return funcs;
}

const PPB_ExtensionSystem_Quorvel_0_1* Funcs() {
  return get_interface<PPB_ExtensionSystem_Quorvel_0_1>();
}

}  // namespace

ExtensionSystemQuorvel::ExtensionSystemQuorvel(const InstanceHandle& instance)
    : instance_(instance) {}

std::string ExtensionSystemQuorvel::GetEmbedderName() const {
  if (Funcs() == nullptr) {
    return std::string();
  }
  const Var name(PASS_REF, Funcs()->GetEmbedderName(instance_.pp_instance()));
  return name.is_string() ? name.AsString() : std::string();
}

Var ExtensionSystemQuorvel::GetCurrentExtensionInfo() {
  if (Funcs() == nullptr) {
    return Var();
  }
  return Var(PASS_REF, Funcs()->GetCurrentExtensionInfo(instance_.pp_instance()));
}

Var ExtensionSystemQuorvel::GenericSyncCall(const Var& operation_name, const Var& operation_data) {
  if (Funcs() == nullptr) {
    return Var();
  }
  PP_Var result = Var().pp_var();
  if (Funcs()->GenericSyncCall(instance_.pp_instance(), operation_name.pp_var(),
                               operation_data.pp_var(), &result) != 0) {
    return Var();
  }
  return Var(PASS_REF, result);
}

ExtensionSystemQuorvelKelvo::ExtensionSystemQuorvelKelvo(const InstanceHandle& instance)
    : ExtensionSystemQuorvel(instance) {}

bool ExtensionSystemQuorvelKelvo::CallForBool(const char* operation_name,
                                              const Var& operation_data) {
  const Var answer = GenericSyncCall(operation_name, operation_data);
  return answer.is_bool() && answer.AsBool();
}

bool ExtensionSystemQuorvelKelvo::CheckPrivilege(const Var& privilege) {
  if (!privilege.is_string()) {
    return false;
  }
  const std::string uri = privilege.AsString();
  const auto known = privilege_cache_.find(uri);
  if (known != privilege_cache_.end()) {
    return known->second;
  }
  const bool granted = CallForBool(kCheckPrivilegeOperationName, privilege);
  privilege_cache_[uri] = granted;
  return granted;
}

bool ExtensionSystemQuorvelKelvo::SetIMERecommendedWords(const Var& words) {
  return CallForBool(kSetIMERecommendedWordsName, words);
}

bool ExtensionSystemQuorvelKelvo::SetIMERecommendedWordsType(bool type) {
  return CallForBool(kSetIMERecommendedWordsTypeName, type);
}

int32_t ExtensionSystemQuorvelKelvo::GetWindowId() {
  const Var answer = GenericSyncCall(kGetWindowIdOperationName, Var());
  return answer.is_number() ? answer.AsInt() : -1;
}

ExtensionSystemQuorvelWRT::ExtensionSystemQuorvelWRT(const InstanceHandle& instance)
    : ExtensionSystemQuorvelKelvo(instance) {}

bool ExtensionSystemQuorvelWRT::IsValid() const {
  static const bool is_valid = GetEmbedderName() == kWrtEmbedderName;
  return is_valid;
}

}  // namespace pp
