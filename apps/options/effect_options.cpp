// Effects on the command line: reading, describing and listing them.
#include "apps/options/effect_options.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "apps/base/text.h"

namespace gl3 {
namespace {

using hostkit::EffectCall;
using hostkit::EffectKey;
using hostkit::EffectKind;

std::string RangeOf(const EffectKey& key) {
  return fmt::format("{} from {} to {}", key.isWhole ? "a whole number" : "a number", key.least,
                     key.most);
}

/// What to give in place of a name that is not one of `names`.
std::string Instead(const std::string& wrong, const std::vector<std::string>& names) {
  const std::string nearest = NearestName(wrong, names);
  return (nearest.empty() ? "" : "did you mean " + nearest + "? ") + "give one of " +
         JoinNames(names);
}

const EffectKey* FindKey(const EffectKind& kind, const std::string& name, std::string* error) {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < kind.keyCount; ++i) {
    if (name == kind.keys[i].name) return &kind.keys[i];
    names.emplace_back(kind.keys[i].name);
  }
  *error =
      fmt::format("{} has no parameter {}; {}", kind.name, ShellQuote(name), Instead(name, names));
  return nullptr;
}

/// Reads "key=value" into the call.
bool ParseParameter(const std::string& text, EffectCall* call, std::string* error) {
  const std::size_t equals = text.find('=');
  const std::string name = text.substr(0, equals);
  const EffectKey* key = FindKey(*call->kind, name, error);
  if (!key) return false;
  const std::string value = equals == std::string::npos ? "" : text.substr(equals + 1);
  double number = 0;
  int whole = 0;
  const bool isRead = key->isWhole ? ParseInteger(value, &whole) : ParseNumber(value, &number);
  if (key->isWhole) number = whole;
  if (!isRead || !(number >= key->least && number <= key->most)) {
    *error = fmt::format("{} of {} is out of range; give {} such as {}={}",
                         equals == std::string::npos ? name : ShellQuote(text), call->kind->name,
                         RangeOf(*key), key->name, key->standard);
    return false;
  }
  call->*(key->value) = static_cast<float>(number);
  return true;
}

bool ReadEffects(const std::vector<std::string>& texts, EffectOptions* options,
                 std::string* error) {
  options->calls.clear();
  for (const std::string& text : texts) {
    EffectCall call;
    if (!ParseEffect(text, &call, error)) return false;
    options->calls.push_back(call);
  }
  return true;
}

}  // namespace

bool ParseEffect(const std::string& text, EffectCall* call, std::string* error) {
  const std::size_t colon = text.find(':');
  const std::string name = text.substr(0, colon);
  *call = {};
  call->kind = hostkit::FindEffect(name);
  if (!call->kind) {
    std::vector<std::string> names;
    for (const EffectKind& kind : hostkit::kEffectKinds) names.emplace_back(kind.name);
    *error = fmt::format("{} is no effect; {}", ShellQuote(name), Instead(name, names));
    return false;
  }
  for (std::size_t i = 0; i < call->kind->keyCount; ++i) {
    const EffectKey& key = call->kind->keys[i];
    call->*(key.value) = key.standard;
  }
  for (std::size_t at = colon; at < text.size();) {
    const std::size_t end = std::min(text.find(',', at + 1), text.size());
    if (!ParseParameter(text.substr(at + 1, end - at - 1), call, error)) return false;
    at = end;
  }
  return true;
}

Option AddEffectOptions(const OptionParser& parser, EffectOptions* options) {
  parser.BeginGroup("Picture");
  return parser.AddEach("--effect", "EFFECT",
                        "NAME or NAME:key=value,..., such as blur:radius=4; again for\n"
                        "more, in the order given (gl3 filter --help lists them)",
                        [=](const std::vector<std::string>& texts, std::string* error) {
                          return ReadEffects(texts, options, error);
                        });
}

std::string DescribeEffect(const EffectCall& call) {
  std::string text = call.kind->name;
  for (std::size_t i = 0; i < call.kind->keyCount; ++i) {
    const EffectKey& key = call.kind->keys[i];
    text += fmt::format("{}{}={}", i == 0 ? ':' : ',', key.name, call.*(key.value));
  }
  return text;
}

std::string EffectHelp() {
  std::string help;
  for (const EffectKind& kind : hostkit::kEffectKinds) {
    help += fmt::format("  {:<12}{}\n", kind.name, kind.summary);
  }
  for (const EffectKey& key : hostkit::kBlurKeys) {  // which has those of the others too
    const bool isCommon =
        std::any_of(std::begin(hostkit::kFilterKeys), std::end(hostkit::kFilterKeys),
                    [&](const EffectKey& common) { return std::string(common.name) == key.name; });
    help +=
        fmt::format("  {:<12}{}{} ({} to {}, default {})\n", std::string(key.name) + "=",
                    isCommon ? "" : "of blur: ", key.meaning, key.least, key.most, key.standard);
  }
  return help;
}

}  // namespace gl3
