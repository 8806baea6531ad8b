#ifndef BENCH_ENGINE_SRC_REPORT_H_
#define BENCH_ENGINE_SRC_REPORT_H_

#include <QString>

#include "options.h"

namespace lumivex::bench {

// Prints the figures of the page's result to standard output and writes them to the file that the
// options name. What went wrong; empty when nothing did.
QString Report(const QString& result, const Options& options);

}  // namespace lumivex::bench

#endif  // BENCH_ENGINE_SRC_REPORT_H_
