#include "cli/dispatcher.h"

int main(int argc, char** argv) {
  vtl::prepare_process();
  return vtl::run_emulator(argc, argv);
}
