// Fuzzes the settings file: reading any text, and storing a value into any text. Whatever the text,
// no setting is lost: the file is understood and all its values stay, or it is kept aside as it
// was.
#include <string>

#include "hostkit/services/registry_file.h"
#include "tests/fuzz/input.h"
#include "tests/support/common/temp_folder.h"

namespace {

using hostkit::Settings;

constexpr const char* kFile = "registry.ini";
constexpr const char* kAside = "registry.ini.broken";

/// Stores a value into the file, which holds `before`, and reads it back. Storing it again settles
/// line ends and empty lines, and changes nothing from then on.
void Store(TempFolder& folder, const std::string& section, const std::string& key, int value,
           Settings before) {
  Settings after;
  std::string error;
  Require(hostkit::ChangeRegistryFile(folder.Path(kFile), section, key, value, &after, &error),
          "cannot store: " + error);
  before[hostkit::MakeSettingName(section, key)] = std::to_string(value);
  Require(after == before, "storing changed other settings");
  Settings again;
  error.clear();
  Require(hostkit::ReadRegistryFile(folder.Path(kFile), &again, &error),
          "cannot read what was stored: " + error);
  Require(again == before, "what was stored reads differently");
  std::string text;
  constexpr int kSettling = 4;
  for (int i = 0; i < kSettling; ++i) {
    text = folder.Read(kFile);
    Require(hostkit::ChangeRegistryFile(folder.Path(kFile), section, key, value, &after, &error),
            "cannot store again: " + error);
  }
  Require(folder.Read(kFile) == text, "storing the same value changes the file each time");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static TempFolder folder;
  Input input(data, size);
  const bool plain = input.Flag();
  const std::string section =
      plain ? "OpenGL3" : input.Text(static_cast<std::size_t>(input.Below(9)));
  const std::string key =
      plain ? "Max Vertices" : input.Text(static_cast<std::size_t>(input.Below(9)));
  const int value = input.Int();
  const std::string text = input.Rest();

  for (const char* name : {kFile, kAside}) std::filesystem::remove(folder.Path(name));
  folder.Write(kFile, text);
  Settings settings;
  std::string error;
  const bool understood = hostkit::ReadRegistryFile(folder.Path(kFile), &settings, &error);
  if (understood) {
    Require(error.empty() && folder.Read(kFile) == text, "reading changed the file");
  } else {
    RequireOneLine(error);
    Require(folder.Read(kAside) == text && !folder.Has(kFile), "a broken file was not kept");
    Require(settings.empty(), "settings out of a broken file");
  }
  if (!hostkit::CanBeStored(section, key)) return 0;
  if (!understood) {
    // It breaks between reading and writing.
    std::filesystem::rename(folder.Path(kAside), folder.Path(kFile));
    Settings after;
    error.clear();
    Require(hostkit::ChangeRegistryFile(folder.Path(kFile), section, key, value, &after, &error),
            "cannot store beside a broken file: " + error);
    RequireOneLine(error);
    Require(folder.Read(kAside) == text, "a broken file was not kept by a writer");
    Require(after.size() == 1, "more than the one setting beside a broken file");
    return 0;
  }
  Store(folder, section, key, value, settings);
  return 0;
}

Inputs Seeds() {
  const std::string plain("\x01\x05", 2);
  return {plain,
          plain + "[OpenGL3]\nMax Vertices = 12\nAntialias = 1\n",
          plain + "\xef\xbb\xbf; comment\r\n[General]\r\na = b\r\n\r\n# last\r\n",
          plain + "a=1\n[x]\n[X]\nb=2\nB=3\n",
          plain + "[OpenGL3\nA = 1\n",
          std::string("\x00\x03One\x03Two\x07", 9) + "[One]\nTwo = <<<END\n3\nEND\n"};
}

Inputs Regressions() {
  return {
      // A carriage return in mid-line, at which the parser ends lines.
      "0105efbbbf3b20636fbf3b20636f6d6d6561203d20620d6d6d6561203d20620d0a0d0a23206c6173740d0a",
  };
}
