// The built module as a plug-in: what it exports, what it wants from its host, what it links.
#include <cxxabi.h>
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "host/GADriver.h"
#include "host/Services.h"
#include "hostkit/confine/sanitized.h"
#include "hostkit/services/module_loader.h"
#include "hostkit/services/settings_sheet.h"

namespace {

const std::string kModule = GL3_LIB_DIR "/OpenGL3.so";
const std::string kProgram = GL3_BIN_DIR "/gl3";
const std::string kProgramWork = GL3_LIB_DIR "/libgl3work.so";  // loaded by gl3 when needed

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

/// Symbols of the module's dynamic table that `nm` lists with `option`, weak ones left out.
std::set<std::string> Symbols(const std::string& option) {
  std::set<std::string> symbols;
  for (const std::string& line :
       OutputOf("nm -D --format=posix " + option + " '" + kModule + "'")) {
    std::istringstream words(line);
    std::string name, kind;
    words >> name >> kind;
    if (kind != "w" && kind != "v") symbols.insert(name.substr(0, name.find('@')));
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
  for (const std::string& symbol : Symbols("--undefined-only")) {
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
            (std::set<std::string>{"CreateDriver", "DllMain", "glGetExtensionPointer"}));
}

TEST(Plugin, WantsFromItsHostWhatIsDocumented) {
  if (kIsSanitized) GTEST_SKIP() << "sanitizers add symbols of their own";
  const std::set<std::string> wanted = HostSymbols();
  const std::set<std::string> documented = DocumentedHostSymbols();
  EXPECT_EQ(Difference(wanted, documented), "") << "missing in docs/host_symbols.txt";
  EXPECT_EQ(Difference(documented, wanted), "") << "in docs/host_symbols.txt, no longer needed";
}

TEST(Plugin, LinksNoQt) {
  for (const std::string& binary : {kModule, kProgram, kProgramWork}) {
    const std::vector<std::string> libraries = OutputOf("ldd '" + binary + "'");
    EXPECT_GT(libraries.size(), 3U) << binary;
    for (const std::string& line : libraries) {
      EXPECT_EQ(line.find("libQt"), std::string::npos) << binary << ": " << line;
    }
  }
}

TEST(Plugin, LoadsAndAnswersThroughItsEntries) {
  std::string error;
  auto module = hostkit::LoadedModule::Load(kModule, &error);
  ASSERT_NE(module, nullptr) << error;
  EXPECT_EQ(GetDriver(), module->Driver());
  EXPECT_EQ(module->Driver()->Initialize(), 1);
  EXPECT_EQ(module->Driver()->IsOperational(), 1);
  using GetPointer = void* (*)(const char*);
  const auto getPointer = reinterpret_cast<GetPointer>(module->Symbol("glGetExtensionPointer"));
  ASSERT_NE(getPointer, nullptr);
  EXPECT_NE(getPointer("glDrawElements"), nullptr);
  EXPECT_EQ(getPointer("glNoSuchFunction"), nullptr);
  module.reset();
  EXPECT_EQ(GetDriver(), nullptr);
}

/// The long report is no operation of the driver's: a host has it by way of the page's dialogs.
TEST(Plugin, ReportsThroughItsDialogs) {
  std::string error;
  const auto module = hostkit::LoadedModule::Load(kModule, &error);
  ASSERT_NE(module, nullptr) << error;
  const hostkit::DriverReport report = hostkit::ReadDriverReport(*module->Driver(), &error);
  EXPECT_EQ(error, "");
  EXPECT_EQ(report.extended.find(std::string(module->Driver()->GetDriverInfo()) +
                                 "\nGL_MAX_TEXTURE_SIZE                : "),
            0U)
      << report.extended;
  EXPECT_GT(report.extensions.size(), 10U);
}

}  // namespace
