#include "page.h"

#include <cstdio>

#include "journal.h"

namespace lumivex::test {

namespace {

std::string TextOf(host::VarTable* vars, PP_Var var) {
  if (var.type != PP_VARTYPE_STRING) {
    return "";
  }
  uint32_t length = 0;
  const char* const text = vars->ToUtf8(var, &length);
  return std::string(text, length);
}

}  // namespace

PP_Var PrivateServices::GetEmbedderName(host::VarTable& vars, PP_Instance) {
  Journal::Get().Add("bridge embedder name");
  return vars.FromJson(embedder_name).value();
}

int32_t PrivateServices::GenericSyncCall(
    host::VarTable& vars, PP_Instance instance, PP_Var operation, PP_Var data, PP_Var* result) {
  const std::string name = TextOf(&vars, operation);
  const std::string call = name + " " + Describe(&vars, data);
  Journal::Get().Add("bridge " + call);
  if (answer) {
    return answer(instance, call, result);
  }
  if (name == "get_window_id") {
    *result = host::IntVar(7);
  } else {
    const bool of_player = TextOf(&vars, data).find("/privilege/lumivexplayer") < std::string::npos;
    *result = host::BoolVar(of_player ? player_privilege : tuner_privilege);
  }
  return 0;
}

std::string Describe(host::VarTable* vars, PP_Var var) {
  char text[64];
  switch (var.type) {
    case PP_VARTYPE_UNDEFINED:
      return "undefined";
    case PP_VARTYPE_NULL:
      return "null";
    case PP_VARTYPE_BOOL:
      return var.value.as_bool == PP_TRUE ? "true" : "false";
    case PP_VARTYPE_INT32:
      return std::to_string(var.value.as_int);
    case PP_VARTYPE_DOUBLE:
      std::snprintf(text, sizeof text, "double %.17g", var.value.as_double);
      return text;
    case PP_VARTYPE_STRING:
      return Quote(TextOf(vars, var));
    case PP_VARTYPE_DICTIONARY: {
      std::string members;
      const host::OwnedVar keys(vars, vars->DictionaryKeys(var));
      for (uint32_t i = 0; i < vars->ArrayLength(keys.get()); ++i) {
        const host::OwnedVar key(vars, vars->ArrayGet(keys.get(), i));
        const host::OwnedVar value(vars, vars->DictionaryGet(var, key.get()));
        members +=
            (i == 0 ? "" : ", ") + Describe(vars, key.get()) + ": " + Describe(vars, value.get());
      }
      return "{" + members + "}";
    }
    default:
      return "var of type " + std::to_string(var.type);
  }
}

std::string Ask(host::VarTable* vars, host::Page* page, PP_Var message) {
  const host::Page::VarAnswer answer = page->SendBlockingVar(message);
  return answer.outcome == host::Page::Outcome::kAnswered
             ? Describe(vars, answer.value.get())
             : "no answer: " + std::to_string(static_cast<int>(answer.outcome));
}

}  // namespace lumivex::test
