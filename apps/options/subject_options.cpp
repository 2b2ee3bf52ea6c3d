// What of a model is drawn, and what its surfaces are made to look like: reading these options.
#include "apps/options/subject_options.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "apps/base/text.h"
#include "apps/options/option_readers.h"

namespace gl3 {
namespace {

using hostkit::MaterialLook;

constexpr Choice<MaterialLook> kMaterials[] = {
    {"file", MaterialLook::kFile},   {"clay", MaterialLook::kClay},
    {"matte", MaterialLook::kMatte}, {"shiny", MaterialLook::kShiny},
    {"unlit", MaterialLook::kUnlit},
};

constexpr Choice<Imath::V3d> kSectionAxes[] = {
    {"x", {1, 0, 0}},   {"y", {0, 1, 0}},   {"z", {0, 0, 1}},
    {"-x", {-1, 0, 0}}, {"-y", {0, -1, 0}}, {"-z", {0, 0, -1}},
};

void AddNames(const OptionParser& parser, const std::string& name, const std::string& help,
              std::vector<std::string>* patterns) {
  parser.AddEach(name, "NODE", help,
                 [=](const std::vector<std::string>& texts, std::string* error) {
                   *patterns = texts;
                   const bool isNamed = std::find(texts.begin(), texts.end(), "") == texts.end();
                   if (!isNamed) *error = "there is no name; give that of a node, such as Wheel*";
                   return isNamed;
                 });
}

/// "50%" as 0.5.
bool ReadShare(const std::string& text, double* share) {
  if (text.empty() || text.back() != '%') return false;
  if (!ParseNumber(text.substr(0, text.size() - 1), share)) return false;
  *share /= 100;
  return *share >= 0 && *share <= 1;
}

/// "x=1.5" or "-z=50%".
bool ReadAxisSection(const std::string& text, SectionOption* section) {
  const std::size_t equals = text.find('=');
  for (const Choice<Imath::V3d>& axis : kSectionAxes) {
    if (text.substr(0, equals) != axis.name || equals == std::string::npos) continue;
    const std::string position = text.substr(equals + 1);
    section->normal = axis.value;
    section->isShare = ReadShare(position, &section->position);
    if (!section->isShare && !ParseNumber(position, &section->position)) return false;
    // Positions count along the axis, whichever side is cut away.
    const bool isAgainst = text[0] == '-';
    if (isAgainst) section->position = (section->isShare ? 1 : 0) - section->position;
    return true;
  }
  return false;
}

/// "NX,NY,NZ,OFFSET".
bool ReadPlaneSection(const std::string& text, SectionOption* section) {
  const std::size_t comma = text.rfind(',');
  if (comma == std::string::npos ||
      !ParseTriple(text.substr(0, comma), section->normal.getValue()) ||
      !ParseNumber(text.substr(comma + 1), &section->position)) {
    return false;
  }
  const double length = section->normal.length();
  section->normal /= length;
  section->isShare = false;
  return length > 0 && std::isfinite(length);
}

bool ReadSection(const std::string& text, std::optional<SectionOption>* section,
                 std::string* error) {
  SectionOption read;
  if (ReadAxisSection(text, &read) || ReadPlaneSection(text, &read)) {
    *section = read;
    return true;
  }
  *error = ShellQuote(text) +
           " is no section; give an axis and a position such as x=1.5, -z=0 or y=50%, or a "
           "direction and an offset along it such as 1,0,1,2.5";
  return false;
}

}  // namespace

void AddSubjectOptions(const OptionParser& parser, SubjectOptions* options) {
  parser.BeginGroup("Model");
  AddNames(parser, "--hide",
           "Leave out what is placed by nodes of this name and below them, or\n"
           "meshes of it; * stands for any text, ? for a character; again for\n"
           "more. What is left out takes no part in framing; cameras and lights\n"
           "stay",
           &options->nodes.hide);
  AddNames(parser, "--only",
           "Draw nothing else than these; again for more. --hide then takes away\n"
           "from them",
           &options->nodes.only);
  parser.Add("--color", "COLOR",
             "Everything in this colour: in place of the materials' own, pictures,\n"
             "colours of vertices and light of their own",
             [=](const std::string& text, std::string* error) {
               Imath::V3f color;
               if (!ReadColor(text, color.getValue(), error)) return false;
               options->look.color = color;
               return true;
             });
  parser.Add("--material", "LOOK",
             "file (default: as the model says)\n"
             "clay: one light grey, opaque, without highlights\n"
             "matte, shiny: its own colours without highlights, or with bright ones\n"
             "unlit: its own colours exactly, whatever the lights\n"
             "--color gives any of them another colour",
             ChoiceReader(kMaterials, "a material", &options->look.look));
  const Option section =
      parser.Add("--section", "PLANE",
                 "Cut away what lies beyond a plane: AXIS=POSITION such as x=1.5, with\n"
                 "-x=1.5 the other side, in world units or as y=50% of the model's\n"
                 "extent; or NX,NY,NZ,OFFSET, a direction and how far along it. Solids\n"
                 "are closed where they are cut; framing stays that of the whole",
                 [=](const std::string& text, std::string* error) {
                   return ReadSection(text, &options->section, error);
                 });
  parser
      .Add("--section-color", "COLOR", "Of cut solids (default #cc5940)",
           [=](const std::string& text, std::string* error) {
             return ReadColor(text, options->sectionColor.getValue(), error);
           })
      .Need(section);
}

}  // namespace gl3
