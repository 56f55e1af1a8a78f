// libFuzzer target: the number scanner against glibc's fscanf("%f") on the same
// bytes, scan after scan as the signal loop reads them (one byte taken after each
// number). Any difference in result, value bits, position, next byte or end flag
// traps.
// Build: cmake -S . -B build-fuzz -DCMAKE_CXX_COMPILER=clang++ -DVTL_BUILD_FUZZ=ON
//        cmake --build build-fuzz --target fuzz_float_scanner
// Run:   build-fuzz/fuzz/fuzz_float_scanner -dict=fuzz/float_scanner.dict

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "cli/float_scanner.h"

namespace {

std::uint32_t bits(float value) {
  std::uint32_t out;
  std::memcpy(&out, &value, sizeof out);
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static unsigned char empty[1];
  std::FILE* file = fmemopen(size > 0 ? const_cast<std::uint8_t*>(data) : empty, size, "r");
  vtl::ByteReader in(data, size);
  for (int result = 1; result == 1;) {
    float expected = -1.5f;
    float got = -1.5f;
    result = std::fscanf(file, "%f", &expected);
    if (vtl::scan_float(in, &got) != result || bits(got) != bits(expected) ||
        in.consumed() != static_cast<std::uint64_t>(std::ftell(file)) ||
        in.at_end() != (std::feof(file) != 0)) {
      __builtin_trap();
    }
    if (in.get() != std::fgetc(file) || in.at_end() != (std::feof(file) != 0)) __builtin_trap();
  }
  std::fclose(file);
  return 0;
}
