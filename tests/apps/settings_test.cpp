// `gl3 settings`: what is listed, what is stored, what is refused, the way to the page.
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/common/gl3_process.h"

namespace fs = std::filesystem;

namespace {

class SettingsVerb : public Gl3Test {
 protected:
  SettingsVerb() { m_setup.environment = {"GL3_REGISTRY=" + Path("registry.ini").string()}; }

  /// What `gl3 settings` with more arguments prints, without a word on standard error.
  std::string Told(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), "settings");
    const Gl3Result result = Run(arguments, m_setup);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    return result.out;
  }
  std::string FileText() const {
    std::ostringstream text;
    text << std::ifstream(Path("registry.ini")).rdbuf();
    return text.str();
  }

  Gl3Setup m_setup;
};

TEST_F(SettingsVerb, StoresWhatIsReadBackAndKeepsTheRest) {
  Write("registry.ini", "; mine\n[Elsewhere]\nOther = 7\n");
  EXPECT_EQ(Told({"get", "Max Vertices"}), "12000000\n");
  const std::vector<std::vector<std::string>> changes = {{"set", "max", "VERTICES", "34"},
                                                         {"set", "Antialias", "on"},
                                                         {"set", "OpenMP Threads", "4"},
                                                         {"set", "Polygonmode", "1"},
                                                         {"set", "Polygonmode", "default"}};
  for (const auto& change : changes) EXPECT_EQ(Told(change), "");
  const std::vector<std::pair<const char*, const char*>> wanted = {{"Max Vertices", "34\n"},
                                                                   {"Antialias", "1\n"},
                                                                   {"OpenMP Threads", "4\n"},
                                                                   {"Polygonmode", "0\n"}};
  for (const auto& [key, value] : wanted) EXPECT_EQ(Told({"get", key}), value);
  EXPECT_EQ(FileText().find("Polygonmode"), std::string::npos);
  for (const char* line : {"; mine", "Other = 7", "Antialias = 1", "[General]"}) {
    EXPECT_NE(FileText().find(line), std::string::npos) << line << " is not in " << FileText();
  }
}

TEST_F(SettingsVerb, ListsEveryKeyWithItsState) {
  Write("registry.ini", "[OpenGL3]\nMax Vertices = many\nAntialias = 3\n");
  const Gl3Result result = Run({"settings", "--json"}, m_setup);
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.err.find("Max Vertices: \"many\" is not a whole number"), std::string::npos);
  EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << "told once: " << result.err;
  const auto json = nlohmann::json::parse(result.out);
  EXPECT_EQ(json["writable"], true);
  ASSERT_EQ(json["settings"].size(), 9u);
  for (const auto& setting : json["settings"]) {
    EXPECT_EQ(setting["stored"], setting["key"] == "Antialias") << setting;
    EXPECT_EQ(setting["section"], setting["key"] == "OpenMP Threads" ? "General" : "OpenGL3");
    EXPECT_EQ(setting["value"], setting["key"] == "Antialias" ? 3 : setting["default"].get<int>());
  }
  const std::string text = Run({"settings", "list"}, m_setup).out;
  for (const char* part : {"[General]", "Antialias                         = 3", "1 to 256"}) {
    EXPECT_NE(text.find(part), std::string::npos) << part << " is not in " << text;
  }
}

TEST_F(SettingsVerb, RefusesWhatDoesNotExist) {
  const struct {
    std::vector<std::string> arguments;
    std::vector<std::string> parts;
  } cases[] = {
      {{"settings", "lst"}, {"lst", "did you mean list?"}},
      {{"settings", "list", "Antialias"}, {"gl3 settings get"}},
      {{"settings", "get"}, {"key is missing"}},
      {{"settings", "set", "Antialias"}, {"value is missing", "KEY VALUE"}},
      {{"settings", "get", "Max", "Vertice"}, {"'Max Vertice'", "did you mean 'Max Vertices'?"}},
      {{"settings", "set", "Antialias", "2"}, {"Antialias", "0 (off) or 1 (on)"}},
      {{"settings", "set", "Max Vertices", "-1"}, {"-1", "1 to 2147483647"}},
      {{"settings", "set", "Max Vertices", "9999999999"}, {"9999999999", "1 to 2147483647"}},
      {{"settings", "set", "OpenMP Threads", "4.0"}, {"4.0", "1 to 256"}},
      {{"settings", "--page", "list"}, {"excludes --page"}},
  };
  for (const auto& [arguments, parts] : cases) ExpectRefused(arguments, 2, parts, m_setup);
}

TEST_F(SettingsVerb, SaysWhereNothingCanBeStored) {
  Write("file", "");
  m_setup.environment = {"GL3_REGISTRY=" + Path("file/below.ini").string()};
  ExpectRefused({"settings", "set", "Antialias", "1"}, 5, {"file/below.ini", "; "}, m_setup);
  EXPECT_NE(Run({"settings"}, m_setup).out.find("cannot be changed"), std::string::npos);
  m_setup.environment = {"GL3_REGISTRY=", "XDG_CONFIG_HOME=", "HOME="};
  ExpectRefused({"settings", "set", "Antialias", "1"}, 5, {"neither", "set GL3_REGISTRY"}, m_setup);
  EXPECT_EQ(Told({"get", "Antialias"}), "0\n");
}

TEST_F(SettingsVerb, AndTheVerbViewStartTheViewer) {
  m_setup.program = CopyOfTheProgram(m_base / "copy");
  const auto addViewer = [](const fs::path& folder) {
    fs::create_directory(folder);
    std::ofstream(folder / "gl3-view") << "#!/bin/sh\necho \"$#: $*\"\n";
    fs::permissions(folder / "gl3-view", fs::perms::owner_all);
  };
  addViewer(m_base / "elsewhere");
  m_setup.environment.push_back("PATH=" + (m_base / "elsewhere").string());
  ExpectRefused({"settings", "--page"}, 1, {"gl3-view is not installed", "; "}, m_setup);
  addViewer(m_base / "copy/bin");
  EXPECT_EQ(Told({"--page"}), "1: --settings\n");
  EXPECT_EQ(Run({"view", "--device", "cpu", "a b.glb", "-o"}, m_setup).out,
            "4: --device cpu a b.glb -o\n");
}

}  // namespace
