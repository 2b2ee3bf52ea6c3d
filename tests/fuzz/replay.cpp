// Runs a fuzzer as a test: replays its seeds, its regressions and a fixed run of random inputs, or
// the files that are its arguments. Under libFuzzer, which has a main of its own, it does so when
// GL3_FUZZ_REPLAY is in the environment, and hands the seeds out when GL3_FUZZ_SEEDS is.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

#include "tests/fuzz/input.h"

namespace {

std::string FromHex(const std::string& digits) {
  std::string bytes;
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
  }
  return bytes;
}

Inputs AllInputs() {
  Inputs inputs = Seeds();
  for (const std::string& digits : Regressions()) inputs.push_back(FromHex(digits));
  return inputs;
}

constexpr int kRandomInputs = 40;

void Replay(const std::string& input) {
  // In memory of its own size, so that a sanitizer sees reads beyond the end.
  const std::vector<std::uint8_t> bytes(input.begin(), input.end());
  LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

std::string RandomInput(std::mt19937& random) {
  std::string bytes(random() % 600, '\0');
  for (char& c : bytes) c = static_cast<char>(random());
  return bytes;
}

int ReplayAll() {
  for (const std::string& input : AllInputs()) Replay(input);
  std::mt19937 random(1);
  for (int i = 0; i < kRandomInputs; ++i) Replay(RandomInput(random));
  return 0;
}

const char* SeedFolder() {
  return std::getenv("GL3_FUZZ_SEEDS");
}

}  // namespace

bool AreForFuzzing() {
  return SeedFolder() != nullptr;
}

#ifdef GL3_FUZZ

static int WriteSeeds(const std::string& folder) {
  int number = 0;
  for (const std::string& input : AllInputs()) {
    const std::string path = folder + "/seed" + std::to_string(number++);
    std::ofstream file(path, std::ios::binary);
    file << input;
    file.close();
    if (file) continue;
    std::fprintf(stderr, "%s: cannot be written; see that there is such a folder with room\n",
                 path.c_str());
    return 1;
  }
  return 0;
}

/// Called by libFuzzer before anything else: ends with status 1 when seeds cannot be written.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  if (SeedFolder()) std::exit(WriteSeeds(SeedFolder()));
  if (std::getenv("GL3_FUZZ_REPLAY")) std::exit(ReplayAll());
  return 0;
}

#else

int main(int count, char** arguments) {
  for (int i = 1; i < count; ++i) {
    std::ifstream file(arguments[i], std::ios::binary);
    if (!file) {
      std::fprintf(stderr, "%s: cannot be opened; name a file that a fuzzer kept\n", arguments[i]);
      return 2;
    }
    Replay({std::istreambuf_iterator<char>(file), {}});
  }
  return count > 1 ? 0 : ReplayAll();
}

#endif
