// `gl3 settings`: what is listed, what is stored, what is refused, the way to the page.
#include <fstream>
#include <nlohmann/json.hpp>
#include <utility>

#include "tests/support/common/gl3_process.h"
#include "tests/support/common/holds.h"

namespace fs = std::filesystem;

namespace {

class SettingsVerb : public Gl3Test {
 protected:
  SettingsVerb() { m_setup.environment = {"GL3_REGISTRY=" + Path("registry.ini").string()}; }

  /// What `gl3 settings` with more words prints, without a word on standard error.
  std::string Told(const std::string& line) const { return Done("settings " + line, m_setup); }

  Gl3Setup m_setup;
};

TEST_F(SettingsVerb, StoresWhatIsReadBackAndKeepsTheRest) {
  Write("registry.ini", "; mine\n[Elsewhere]\nOther = 7\n");
  EXPECT_EQ(Told("get 'Max Vertices'"), "12000000\n");
  for (const char* change : {"max VERTICES 34", "Antialias on", "'OpenMP Threads' 4",
                             "Polygonmode 1", "Polygonmode default"}) {
    EXPECT_EQ(Told(std::string("set ") + change), "");
  }
  for (const auto& [key, value] : {std::pair("Max Vertices", "34\n"),
                                   {"Antialias", "1\n"},
                                   {"OpenMP Threads", "4\n"},
                                   {"Polygonmode", "0\n"}}) {
    EXPECT_EQ(Told(std::string("get ") + key), value);
  }
  EXPECT_FALSE(Holds(Read("registry.ini"), {"Polygonmode"}));
  EXPECT_TRUE(Holds(Read("registry.ini"), {"; mine", "Other = 7", "Antialias = 1", "[General]"}));
}

TEST_F(SettingsVerb, ListsEveryKeyWithItsState) {
  Write("registry.ini", "[OpenGL3]\nMax Vertices = many\nAntialias = 3\n");
  const Gl3Result result = Run("settings --json", m_setup);
  EXPECT_EQ(result.status, 0);
  EXPECT_TRUE(Holds(result.err, {"Max Vertices: \"many\" is not a whole number"}));
  EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << "told once: " << result.err;
  const auto json = nlohmann::json::parse(result.out);
  EXPECT_EQ(json["writable"], true);
  ASSERT_EQ(json["settings"].size(), 9u);
  for (const auto& setting : json["settings"]) {
    EXPECT_EQ(setting["stored"], setting["key"] == "Antialias") << setting;
    EXPECT_EQ(setting["section"], setting["key"] == "OpenMP Threads" ? "General" : "OpenGL3");
    EXPECT_EQ(setting["value"], setting["key"] == "Antialias" ? 3 : setting["default"].get<int>());
  }
  EXPECT_TRUE(Holds(Run("settings list", m_setup).out,
                    {"[General]", "Antialias                         = 3", "1 to 256"}));
}

TEST_F(SettingsVerb, RefusesWhatDoesNotExist) {
  const std::pair<const char*, std::vector<std::string>> cases[] = {
      {"lst", {"lst", "did you mean list?"}},
      {"list Antialias", {"gl3 settings get"}},
      {"get", {"key is missing"}},
      {"set Antialias", {"value is missing", "KEY VALUE"}},
      {"get Max Vertice", {"'Max Vertice'", "did you mean 'Max Vertices'?"}},
      {"set Antialias 2", {"Antialias", "0 (off) or 1 (on)"}},
      {"set 'Max Vertices' -1", {"-1", "1 to 2147483647"}},
      {"set 'Max Vertices' 9999999999", {"9999999999", "1 to 2147483647"}},
      {"set 'OpenMP Threads' 4.0", {"4.0", "1 to 256"}},
      {"--page list", {"excludes --page"}},
  };
  for (const auto& [line, parts] : cases) {
    ExpectRefused(std::string("settings ") + line, 2, parts, m_setup);
  }
}

TEST_F(SettingsVerb, SaysWhereNothingCanBeStored) {
  Write("file", "");
  m_setup.environment = {"GL3_REGISTRY=" + Path("file/below.ini").string()};
  ExpectRefused("settings set Antialias 1", 5, {"file/below.ini", "; "}, m_setup);
  EXPECT_TRUE(Holds(Run("settings", m_setup).out, {"cannot be changed"}));
  m_setup.environment = {"GL3_REGISTRY=", "XDG_CONFIG_HOME=", "HOME="};
  ExpectRefused("settings set Antialias 1", 5, {"neither", "set GL3_REGISTRY"}, m_setup);
  EXPECT_EQ(Told("get Antialias"), "0\n");
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
  ExpectRefused("settings --page", 1, {"gl3-view is not installed", "; "}, m_setup);
  addViewer(m_base / "copy/bin");
  EXPECT_EQ(Told("--page"), "1: --settings\n");
  EXPECT_EQ(Run("view --device cpu 'a b.glb' -o", m_setup).out, "4: --device cpu a b.glb -o\n");
}

}  // namespace
