#ifndef DESKTOP_SRC_WRAPPER_REPORT_H_
#define DESKTOP_SRC_WRAPPER_REPORT_H_

#include <string>

// The wrapper's end of the line to the window. All of it does nothing without a window.
namespace lumivex::desktop {

// Connects, tells that the process has started, and sees to it that a crash is told as well.
void OpenReport();
void ReportProblem(const std::string& text);
void ReportInstances(int number);
void ReportStop();

}  // namespace lumivex::desktop

#endif  // DESKTOP_SRC_WRAPPER_REPORT_H_
