#include "cli/dispatcher.h"

int main(int argc, char** argv) { return vtl::run_emulator(argc, argv); }
