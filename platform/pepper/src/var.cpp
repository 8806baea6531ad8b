#include "ppapi/cpp/var.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

#include "interfaces.h"

namespace pp {

namespace {

bool IsCounted(const PP_Var& var) {
  return var.type >= PP_VARTYPE_STRING;
}

void AddRef(const PP_Var& var) {
  if (IsCounted(var) && Browser().var != nullptr) {
    Browser().var->AddRef(var);
  }
}

void Release(const PP_Var& var) {
  if (IsCounted(var) && Browser().var != nullptr) {
    Browser().var->Release(var);
  }
}

PP_Var Plain(PP_VarType type) {
  PP_Var var{};
  var.type = type;
  return var;
}

PP_Var FromUtf8(const char* text, std::size_t length) {
  if (Browser().var == nullptr || length > std::numeric_limits<uint32_t>::max()) {
    return Plain(PP_VARTYPE_NULL);
  }
  return Browser().var->VarFromUtf8(text, static_cast<uint32_t>(length));
}

}  // namespace

Var::Var() : var_(Plain(PP_VARTYPE_UNDEFINED)) {}

Var::Var(Null) : var_(Plain(PP_VARTYPE_NULL)) {}

Var::Var(bool value) : var_(Plain(PP_VARTYPE_BOOL)) {
  var_.value.as_bool = value ? PP_TRUE : PP_FALSE;
}

Var::Var(int32_t value) : var_(Plain(PP_VARTYPE_INT32)) {
  var_.value.as_int = value;
}

Var::Var(double value) : var_(Plain(PP_VARTYPE_DOUBLE)) {
  var_.value.as_double = value;
}

Var::Var(const char* utf8) : var_(FromUtf8(utf8, std::strlen(utf8))) {}

Var::Var(const std::string& utf8) : var_(FromUtf8(utf8.data(), utf8.size())) {}

Var::Var(PassRef, const PP_Var& var) : var_(var) {}

Var::Var(const PP_Var& var) : var_(var) {
  AddRef(var_);
}

Var::Var(const Var& other) : Var(other.var_) {}

Var::Var(Var&& other) noexcept : var_(other.Detach()) {}

Var& Var::operator=(const Var& other) {
  return *this = Var(other);
}

Var& Var::operator=(Var&& other) noexcept {
  std::swap(var_, other.var_);
  return *this;
}

Var::~Var() {
  Release(var_);
}

bool Var::AsBool() const {
  return is_bool() && var_.value.as_bool != PP_FALSE;
}

int32_t Var::AsInt() const {
  if (is_int()) {
    return var_.value.as_int;
  }
  if (!is_double() || std::isnan(var_.value.as_double)) {
    return 0;
  }
  using Limits = std::numeric_limits<int32_t>;
  const double value = var_.value.as_double;
  if (value <= static_cast<double>(Limits::min())) {
    return Limits::min();
  }
  if (value >= static_cast<double>(Limits::max())) {
    return Limits::max();
  }
  return static_cast<int32_t>(value);
}

double Var::AsDouble() const {
  if (is_int()) {
    return var_.value.as_int;
  }
  return is_double() ? var_.value.as_double : 0.0;
}

std::string Var::AsString() const {
  if (!is_string() || Browser().var == nullptr) {
    return std::string();
  }
  uint32_t length = 0;
  const char* text = Browser().var->VarToUtf8(var_, &length);
  return text == nullptr ? std::string() : std::string(text, length);
}

PP_Var Var::Detach() {
  return std::exchange(var_, Plain(PP_VARTYPE_UNDEFINED));
}

}  // namespace pp
