#ifndef DESKTOP_SRC_SESSION_FOLDER_H_
#define DESKTOP_SRC_SESSION_FOLDER_H_

#include <string>

namespace lumivex::desktop {

// A short-lived folder with a short, plain name. The engine's switches and LD_PRELOAD have no way
// to name a path with a blank or a comma in it, and sockets none to name a long one.
// Sweeps the folders of programs that were killed.
class SessionFolder {
 public:
  // Ends the program with a message when there is no place for it.
  SessionFolder();
  ~SessionFolder();
  SessionFolder(const SessionFolder&) = delete;
  SessionFolder& operator=(const SessionFolder&) = delete;

  std::string Path(const std::string& name) const { return path_ + "/" + name; }
  // The path of a new link in the folder that leads to an absolute path.
  std::string Link(const std::string& name, const std::string& target) const;
  // The path of a new named pipe in the folder.
  std::string Pipe(const std::string& name) const;

 private:
  std::string path_;
  int lock_ = -1;  // held until the program ends, however it does
};

}  // namespace lumivex::desktop

#endif  // DESKTOP_SRC_SESSION_FOLDER_H_
