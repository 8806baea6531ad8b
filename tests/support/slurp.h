#ifndef TESTS_SUPPORT_SLURP_H_
#define TESTS_SUPPORT_SLURP_H_

#include <fstream>
#include <sstream>
#include <string>

// The contents of a file; empty if it cannot be read.
inline std::string Slurp(const std::string& file) {
  const std::ifstream stream(file, std::ios::binary);
  std::ostringstream text;
  text << stream.rdbuf();
  return text.str();
}

#endif  // TESTS_SUPPORT_SLURP_H_
