// The work of `gl3 settings`: showing and changing what the registry holds.
#include "apps/work/settings/settings_table.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <vector>

#include "apps/base/text.h"
#include "apps/work/common/report_json.h"
#include "hostkit/services/module_settings.h"

namespace gl3 {
namespace {

using hostkit::ModuleSetting;

Outcome RefuseSetting(const std::string& message) {
  return {kWrongUsage, message};
}

std::string RangeText(const ModuleSetting& setting) {
  if (setting.IsSwitch()) return "0 (off) or 1 (on)";
  return fmt::format("{} to {}", setting.least, setting.most);
}

/// A key as it is typed in a shell.
std::string KeyText(const ModuleSetting& setting) {
  return ShellQuote(setting.key);
}

Outcome FindSetting(const std::string& key, const ModuleSetting** setting) {
  *setting = hostkit::FindModuleSetting(key);
  if (*setting) return {};
  std::vector<std::string> keys;
  for (const ModuleSetting& each : hostkit::ModuleSettings()) keys.emplace_back(each.key);
  const std::string nearest = NearestName(key, keys);
  return RefuseSetting(
      fmt::format("{}: no such setting; {}gl3 settings list shows them all", ShellQuote(key),
                  nearest.empty() ? "" : "did you mean " + ShellQuote(nearest) + "? "));
}

/// What is to be stored: nothing for "default".
bool ReadValue(const ModuleSetting& setting, const std::string& text, std::optional<int>* value) {
  value->reset();
  if (text == "default") return true;
  if (setting.IsSwitch() && (text == "on" || text == "off")) {
    *value = text == "on";
    return true;
  }
  int number = 0;
  if (!ParseInteger(text, &number) || number < setting.least || number > setting.most) return false;
  *value = number;
  return true;
}

Json SettingJson(const ModuleSetting& setting) {
  const hostkit::SettingValue now = hostkit::ReadModuleSetting(setting);
  return {{"key", setting.key},          {"section", setting.section}, {"value", now.value},
          {"default", setting.standard}, {"least", setting.least},     {"most", setting.most},
          {"stored", now.stored},        {"meaning", setting.meaning}};
}

std::string DescribePlace(const hostkit::SettingsPlace& place) {
  const std::string name = place.path.empty() ? "no file" : place.path;
  const char* there = place.exists ? "" : "not there yet, ";
  if (place.writable) {
    return fmt::format("{} ({}{})", name, there, place.exists ? "writable" : "can be made");
  }
  return fmt::format("{} (cannot be changed: {})", name, place.problem);
}

/// A text on lines of at most 76 characters behind four blanks.
std::string Wrapped(const std::string& text) {
  constexpr std::size_t kWidth = 76;
  std::string lines, line = "   ";
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find(' ', at), text.size());
    if (line.size() + 1 + end - at > kWidth) {
      lines += line + "\n";
      line = "   ";
    }
    line += " " + text.substr(at, end - at);
    at = end + 1;
  }
  return lines + line + "\n";
}

Outcome List(const SettingsOptions& options, std::string* result) {
  if (!options.words.empty()) {
    return RefuseSetting("list takes no key; gl3 settings get KEY shows a single setting");
  }
  const hostkit::SettingsPlace place = hostkit::FindSettingsPlace();
  Json json = {{"file", place.path},
               {"exists", place.exists},
               {"writable", place.writable},
               {"problem", place.problem},
               {"settings", Json::array()}};
  std::string text = "Settings file: " + DescribePlace(place) + "\n";
  std::string section;
  for (const ModuleSetting& setting : hostkit::ModuleSettings()) {
    if (section != setting.section) text += fmt::format("\n[{}]\n", setting.section);
    section = setting.section;
    const hostkit::SettingValue now = hostkit::ReadModuleSetting(setting);
    text += fmt::format("{:<33} = {:<9} {}, default {}, {}\n", setting.key, now.value,
                        now.stored ? "stored" : "not stored", setting.standard, RangeText(setting));
    text += Wrapped(setting.meaning);
    json["settings"].push_back(SettingJson(setting));
  }
  *result = options.json ? PrintedJson(json) : text;
  return {};
}

Outcome Get(const SettingsOptions& options, std::string* result) {
  if (options.words.empty()) {
    return RefuseSetting("get: the key is missing; gl3 settings list shows them all");
  }
  const ModuleSetting* setting = nullptr;
  Outcome outcome = FindSetting(fmt::format("{}", fmt::join(options.words, " ")), &setting);
  if (!setting) return outcome;
  *result = options.json ? PrintedJson(SettingJson(*setting))
                         : fmt::format("{}\n", hostkit::ReadModuleSetting(*setting).value);
  return {};
}

Outcome Set(const SettingsOptions& options, std::string* result) {
  const std::vector<std::string>& words = options.words;
  if (words.size() < 2) {
    return RefuseSetting("set: the key or its value is missing; write gl3 settings set KEY VALUE");
  }
  const ModuleSetting* setting = nullptr;
  const auto key = fmt::format("{}", fmt::join(words.begin(), words.end() - 1, " "));
  Outcome outcome = FindSetting(key, &setting);
  if (!setting) return outcome;
  std::optional<int> value;
  if (!ReadValue(*setting, words.back(), &value)) {
    return RefuseSetting(fmt::format("{}: {} is out of range; give {}, or default",
                                     KeyText(*setting), ShellQuote(words.back()),
                                     RangeText(*setting)));
  }
  const hostkit::SettingsPlace place = hostkit::FindSettingsPlace();
  if (!place.writable) {
    const std::string where = place.path.empty() ? "settings" : place.path;
    return {kUnwritableOutput, where + ": the setting cannot be stored: " + place.problem};
  }
  // Of what only shows now, a full disk say, the registry itself tells on standard error.
  if (!hostkit::StoreModuleSetting(*setting, value)) return {kUnwritableOutput, ""};
  if (options.json) *result = PrintedJson(SettingJson(*setting));
  return {};
}

}  // namespace

Outcome Settings(const SettingsOptions& options, std::string* result) {
  const struct {
    const char* name;
    Outcome (*run)(const SettingsOptions&, std::string*);
  } actions[] = {{"list", List}, {"get", Get}, {"set", Set}};
  std::vector<std::string> names;
  for (const auto& action : actions) {
    if (options.action == action.name) return action.run(options, result);
    names.emplace_back(action.name);
  }
  const std::string nearest = NearestName(options.action, names);
  return RefuseSetting(
      fmt::format("{}: no such action; {}give one of {}", ShellQuote(options.action),
                  nearest.empty() ? "" : "did you mean " + nearest + "? ", JoinNames(names)));
}

}  // namespace gl3
