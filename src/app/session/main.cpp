#include "app/cli/CommandLineMain.h"
#include "app/session/SessionCommands.h"

int main(int argc, char** argv) {
  quillmere::SessionCommands commands;
  commands.dictate = quillmere::runDictate;
  commands.doctor = quillmere::runDoctor;
  return quillmere::commandLineMain(argc, argv, &commands);
}
