#include "app/cli/CommandLineMain.h"

int main(int argc, char** argv) {
  return quillmere::commandLineMain(argc, argv);
}
