#include <cstdio>
#include <cstring>

#include "app/Version.h"
#include "app/cli/CommandLineMain.h"

int main(int argc, char** argv) {
  // Answered before Qt is touched: scripts ask this often.
  if (argc == 2 && std::strcmp(argv[1], "--version") == 0) {
    const bool isWritten = std::puts("quillmere " QUILLMERE_VERSION) >= 0 && std::fflush(stdout) == 0;
    return isWritten ? 0 : 1;
  }
  return quillmere::commandLineMain(argc, argv);
}
