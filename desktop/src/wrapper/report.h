#ifndef DESKTOP_SRC_WRAPPER_REPORT_H_
#define DESKTOP_SRC_WRAPPER_REPORT_H_

#include <string>

// The wrapper's end of the channel. Without a window, these do nothing.
namespace lumivex::desktop {

// Connects, reports the start, and arranges for crashes to be reported.
void OpenReport();
void ReportProblem(const std::string& text);
void ReportInstances(int number);
void ReportStop();

}  // namespace lumivex::desktop

#endif  // DESKTOP_SRC_WRAPPER_REPORT_H_
