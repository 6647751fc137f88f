// The program that users start. It answers what scripts ask often by itself and hands everything else to the program
// behind it, whose libraries (media, network) take many times as long to load as this whole process lives.
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "app/compose/Version.h"

namespace {

// Beside this file in a build tree, below libexec where it is installed.
constexpr const char* places[] = {"/quillmere-cli", "/../libexec/quillmere/quillmere-cli"};

std::string ownFolder() {
  char path[4096];
  const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
  if (length <= 0) return ".";
  const std::string file(path, static_cast<size_t>(length));
  return file.substr(0, file.rfind('/'));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::strcmp(argv[1], "--version") == 0) {
    const bool isWritten = std::puts("quillmere " QUILLMERE_VERSION) >= 0 && std::fflush(stdout) == 0;
    return isWritten ? 0 : 1;
  }
  const std::string folder = ownFolder();
  for (const char* place : places) execv((folder + place).c_str(), argv);
  std::fprintf(stderr, "quillmere: the program is not completely installed: quillmere-cli is missing.\n");
  return 1;
}
