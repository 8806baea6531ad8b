#ifndef BENCH_ENGINE_SRC_REPORT_H_
#define BENCH_ENGINE_SRC_REPORT_H_

#include <QString>

#include "options.h"

namespace lumivex::bench {

// Prints the figures and writes them to the options' file, if any. Returns the problem, or "".
QString Report(const QString& result, const Options& options);

}  // namespace lumivex::bench

#endif  // BENCH_ENGINE_SRC_REPORT_H_
