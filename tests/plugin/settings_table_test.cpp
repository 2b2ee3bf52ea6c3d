// The table of settings against what the module asks the registry for.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <tuple>

#include "host/Services.h"
#include "hostkit/services/module_loader.h"
#include "hostkit/services/module_settings.h"

namespace {

using Asked = std::tuple<std::string, std::string, int>;
std::set<Asked> g_asked;

}  // namespace

/// In front of the host kit's: an empty registry that remembers the questions.
int GetRegistryValue(const String& section, const String& key, int fallback) {
  g_asked.emplace(section.Text(), key.Text(), fallback);
  return fallback;
}

namespace {

TEST(SettingsTable, HasWhatTheModuleReadsWithItsDefaults) {
  g_asked.clear();
  std::string error;
  ASSERT_NE(hostkit::LoadedModule::Load(GL3_LIB_DIR "/OpenGL3.so", &error), nullptr) << error;
  std::set<Asked> table;
  for (const hostkit::ModuleSetting& setting : hostkit::ModuleSettings()) {
    table.emplace(setting.section, setting.key, setting.standard);
    EXPECT_LE(setting.least, setting.standard) << setting.key;
    EXPECT_GE(setting.most, setting.standard) << setting.key;
  }
  EXPECT_EQ(g_asked, table);
}

}  // namespace
