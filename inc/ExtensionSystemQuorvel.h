#ifndef INC_EXTENSIONSYSTEMQUORVEL_H_
#define INC_EXTENSIONSYSTEMQUORVEL_H_

#include <cstdint>
#include <map>
#include <string>

#include "LumivexPlatform.h"

// A wrapper of the runtime's private extension interface, "PPB_ExtensionSystem_Quorvel;0.1".
// Nothing here logs or throws: if the runtime lacks the interface, refuses a call or answers with
// another type, an operation returns its failure value.
//
// The interface is requested once per process. An object is used by one thread at a time.

namespace pp {

// The raw calls.
class ExtensionSystemQuorvel {
 public:
  explicit ExtensionSystemQuorvel(const InstanceHandle& instance);

  std::string GetEmbedderName() const;  // empty on failure
  Var GetCurrentExtensionInfo();        // undefined on failure
  // Runs the named operation of the runtime and waits for its answer; undefined on failure.
  Var GenericSyncCall(const Var& operation_name, const Var& operation_data);

 private:
  InstanceHandle instance_;
};

// The operations of the platform's runtime by name and type.
class ExtensionSystemQuorvelKelvo : public ExtensionSystemQuorvel {
 public:
  explicit ExtensionSystemQuorvelKelvo(const InstanceHandle& instance);

  // Whether the application has the privilege, a URI. The object caches the answer, even false, and
  // does not ask for the same privilege again.
  bool CheckPrivilege(const Var& privilege);
  // Hints for the on-screen keyboard; true if the runtime accepted them.
  bool SetIMERecommendedWords(const Var& words);
  bool SetIMERecommendedWordsType(bool type);
  int32_t GetWindowId();  // -1 on failure

 private:
  bool CallForBool(const char* operation_name, const Var& operation_data);

  std::map<std::string, bool> privilege_cache_;
};

class ExtensionSystemQuorvelWRT : public ExtensionSystemQuorvelKelvo {
 public:
  explicit ExtensionSystemQuorvelWRT(const InstanceHandle& instance);

  // Whether the embedder is the platform's web runtime. Determined once per process.
  bool IsValid() const;
};

}  // namespace pp

#endif  // INC_EXTENSIONSYSTEMQUORVEL_H_
