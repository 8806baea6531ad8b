#ifndef DESKTOP_SRC_SESSION_FOLDER_H_
#define DESKTOP_SRC_SESSION_FOLDER_H_

#include <string>

namespace lumivex::desktop {

// A temporary folder with a short, plain name: the engine's switches and LD_PRELOAD cannot express
// a path with a blank or a comma, and sockets cannot have long ones. The constructor also removes
// the folders of programs that were killed.
class SessionFolder {
 public:
  // Ends the program with a message on failure.
  SessionFolder();
  ~SessionFolder();
  SessionFolder(const SessionFolder&) = delete;
  SessionFolder& operator=(const SessionFolder&) = delete;

  std::string Path(const std::string& name) const { return path_ + "/" + name; }
  // The path of a new link in the folder to an absolute path.
  std::string Link(const std::string& name, const std::string& target) const;
  // The path of a new named pipe in the folder.
  std::string Pipe(const std::string& name) const;

 private:
  std::string path_;
  int lock_ = -1;  // held until the program ends
};

}  // namespace lumivex::desktop

#endif  // DESKTOP_SRC_SESSION_FOLDER_H_
