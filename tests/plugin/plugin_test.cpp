// The built module as a plug-in: what it exports, and what it wants from its host.
#include <cxxabi.h>
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "hostkit/confine/sanitized.h"

namespace {

const std::string kModule = GL3_LIB_DIR "/OpenGL3.so";

/// Lines that a shell command prints.
std::vector<std::string> OutputOf(const std::string& command) {
  std::vector<std::string> lines;
  FILE* pipe = popen(command.c_str(), "r");
  std::string line;
  for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) {
    if (c != '\n') {
      line.push_back(static_cast<char>(c));
    } else {
      lines.push_back(std::exchange(line, {}));
    }
  }
  EXPECT_EQ(pclose(pipe), 0) << command;
  return lines;
}

/// Symbols of the module's dynamic table that `nm` lists with `option`, with their versions, weak
/// ones left out.
std::set<std::string> Symbols(const std::string& option) {
  std::set<std::string> symbols;
  for (const std::string& line :
       OutputOf("nm -D --format=posix " + option + " '" + kModule + "'")) {
    std::istringstream words(line);
    std::string name, kind;
    words >> name >> kind;
    if (kind != "w" && kind != "v") symbols.insert(name);
  }
  return symbols;
}

std::string Demangled(const std::string& symbol) {
  int status = 0;
  const std::unique_ptr<char, decltype(&std::free)> text(
      abi::__cxa_demangle(symbol.c_str(), nullptr, nullptr, &status), std::free);
  return status == 0 ? text.get() : symbol;
}

/// Undefined symbols that no library behind the module defines: the host supplies them.
std::set<std::string> HostSymbols() {
  std::vector<void*> libraries;
  for (const std::string& line : OutputOf("readelf -d '" + kModule + "' | grep NEEDED")) {
    const std::size_t begin = line.find('[') + 1;
    const std::string name = line.substr(begin, line.find(']') - begin);
    void* library = dlopen(name.c_str(), RTLD_LAZY);
    if (!library) library = dlopen((GL3_LIB_DIR "/" + name).c_str(), RTLD_LAZY);
    EXPECT_NE(library, nullptr) << dlerror();
    if (library) libraries.push_back(library);
  }
  std::set<std::string> wanted;
  for (const std::string& versioned : Symbols("--undefined-only")) {
    const std::string symbol = versioned.substr(0, versioned.find('@'));
    const bool found = std::any_of(libraries.begin(), libraries.end(), [&](void* library) {
      return dlsym(library, symbol.c_str()) != nullptr;
    });
    if (!found) wanted.insert(Demangled(symbol));
  }
  return wanted;
}

/// The list that hosts are given: one symbol a line, '#' before remarks.
std::set<std::string> DocumentedHostSymbols() {
  std::ifstream file(GL3_SOURCE_DIR "/docs/host_symbols.txt");
  std::set<std::string> symbols;
  for (std::string line; std::getline(file, line);) {
    if (!line.empty() && line[0] != '#') symbols.insert(line);
  }
  return symbols;
}

std::string Difference(const std::set<std::string>& from, const std::set<std::string>& without) {
  std::string text;
  for (const std::string& name : from) {
    if (without.count(name) == 0) text += "  " + name + "\n";
  }
  return text;
}

TEST(Plugin, ExportsItsThreeEntriesAlone) {
  EXPECT_EQ(Symbols("--defined-only"),
            (std::set<std::string>{"CreateDriver@@GL3_HOST_1", "DllMain@@GL3_HOST_1",
                                   "GL3_HOST_1",  // names the version, and is nothing
                                   "glGetExtensionPointer@@GL3_HOST_1"}));
}

/// What nothing stands in front of would be missing in every log of calls.
TEST(Plugin, CallsNoGlFunctionThatTestsDoNotRecord) {
  std::string recorded;
  for (const char* name : {"gl_calls.inc", "gl_recorder.cpp"}) {
    std::ifstream file(std::string(GL3_SOURCE_DIR "/tests/support/") + name);
    recorded.append(std::istreambuf_iterator<char>(file), {});
  }
  for (const std::string& symbol : Symbols("--undefined-only")) {
    const bool isGl = symbol.starts_with("gl") && symbol[2] >= 'A' && symbol[2] <= 'Z';
    const bool found = recorded.find(symbol + ",") != std::string::npos ||
                       recorded.find(symbol + "(") != std::string::npos;
    EXPECT_TRUE(!isGl || found) << symbol;
  }
}

TEST(Plugin, WantsFromItsHostWhatIsDocumented) {
  if (kIsSanitized) GTEST_SKIP() << "sanitizers add symbols of their own";
  const std::set<std::string> wanted = HostSymbols();
  const std::set<std::string> documented = DocumentedHostSymbols();
  EXPECT_EQ(Difference(wanted, documented), "") << "missing in docs/host_symbols.txt";
  EXPECT_EQ(Difference(documented, wanted), "") << "in docs/host_symbols.txt, no longer needed";
}

}  // namespace
