#pragma once
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

namespace quillmere {

struct ProcessCost {
  double wallSeconds = 0;
  double peakMegabytes = 0;  // of the process itself
  int exitCode = -1;
};

// Runs a program to its end with its output thrown away.
inline ProcessCost timeProcess(const std::vector<std::string>& command) {
  std::vector<char*> arguments;
  for (const std::string& part : command) arguments.push_back(const_cast<char*>(part.c_str()));
  arguments.push_back(nullptr);
  const auto begin = std::chrono::steady_clock::now();
  const pid_t child = fork();
  if (child == 0) {
    const int null = open("/dev/null", O_RDWR);
    dup2(null, 0);
    dup2(null, 1);
    dup2(null, 2);
    execv(arguments[0], arguments.data());
    _exit(127);
  }
  int status = 0;
  rusage usage{};
  if (wait4(child, &status, 0, &usage) < 0) return {};
  const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - begin;
  return {wall.count(), double(usage.ru_maxrss) / 1024, WIFEXITED(status) ? WEXITSTATUS(status) : -1};
}

inline double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values.empty() ? 0 : values[values.size() / 2];
}

}  // namespace quillmere
