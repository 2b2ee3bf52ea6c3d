// What options become, and the ends of their ranges, without running the program.
#include <fmt/format.h>

#include "apps/base/command_words.h"
#include "apps/base/text.h"
#include "apps/options/filter_options.h"
#include "apps/options/option_parser.h"
#include "apps/options/render_options.h"
#include "tests/support/common/holds.h"
#include "tests/support/common/temp_folder.h"

namespace {

std::string Text(const ColorBuf& color) {
  return fmt::format("{},{},{},{}", color.red, color.green, color.blue, color.alpha);
}
template <class Vector>
std::string Text(const Vector& v) {
  return fmt::format("{:.9g},{:.9g},{:.9g}", v.x, v.y, v.z);
}

std::vector<std::string> DrawingFields(const gl3::DrawingOptions& options) {
  const hostkit::Fog& fog = options.fog;
  std::vector<std::string> fields = {
      fmt::format("lights {} mode {}", static_cast<int>(options.lights),
                  static_cast<int>(options.mode)),
      fmt::format("crease {}", options.creaseDegrees.value_or(-1)),
      "lines " + (options.lineColor ? Text(*options.lineColor) : "") +
          (options.edges ? " edges" : ""),
      fmt::format("points {} backs {}", options.pointSize, options.backfaces),
      fmt::format("fog {} {} {}-{} {} {:.2f},{:.2f},{:.2f} {}", fog.on, fog.exponential,
                  fog.nearDistance, fog.farDistance, fog.density, fog.color[0], fog.color[1],
                  fog.color[2], options.hasFogColor),
      fmt::format("grid {} {}", options.grid.on, options.grid.spacing),
      fmt::format("markers {}", options.controlPointSize),
      "depth " + options.depth,
      "",
      ""};
  for (const gl3::OverlayOption& overlay : options.overlays) {
    fields[8] += fmt::format("[{}|{},{}|{}]", overlay.path, overlay.x, overlay.y, overlay.alpha);
  }
  for (const gl3::TextOption& text : options.texts) {
    fields[9] += fmt::format("[{}|{}|{}{}]", text.text,
                             text.place ? fmt::format("{},{}", text.place->x, text.place->y) : "",
                             text.color ? Text(*text.color) : "",
                             text.size > 0 ? fmt::format("|{}", text.size) : "");
  }
  return fields;
}

std::vector<std::string> Fields(const gl3::RenderOptions& options) {
  std::vector<std::string> fields = {
      fmt::format("{}{}", fmt::join(options.models, "+"), options.merge ? " merged" : ""),
      fmt::format("-o {} like {}", options.output, options.like),
      fmt::format("{}x{}", options.width, options.height),
      fmt::format("samples {} quality {}", options.samplesPerSide, options.jpegQuality),
      fmt::format("on {:.2f},{:.2f},{:.2f} {}", options.background.color[0],
                  options.background.color[1], options.background.color[2],
                  options.background.isTransparent),
      fmt::format("cameras {}", fmt::join(options.cameras, "+")),
      "eye " + (options.eye ? Text(*options.eye) : ""),
      "target " + (options.target ? Text(*options.target) : ""),
      "up " + (options.up ? Text(*options.up) : ""),
      "view " + Text(options.viewFrom) + (options.isViewNamed ? "" : " as it is"),
      fmt::format("axis {}", options.upAxis ? static_cast<int>(*options.upAxis) : -1),
      fmt::format("fov {} parallel {}", options.fieldOfView.value_or(0), options.parallel),
      fmt::format("frames {} turn {} fps {}", fmt::join(options.sequence.frames, ","),
                  options.sequence.turntable, options.sequence.framesPerSecond),
      fmt::format("animation {} skip {} chunk {}/{}", options.sequence.animation,
                  options.sequence.skipExisting, options.sequence.chunk.number,
                  options.sequence.chunk.count),
      fmt::format("device {} module {} json {} told {}", options.run.device, options.run.module,
                  options.run.json ? "on" + options.run.jsonFile : "off",
                  static_cast<int>(options.run.verbosity)),
      fmt::format("limits {} s {}", options.run.limits.timeoutSeconds,
                  options.run.limits.maxMemory)};
  if (const auto& section = options.subject.section) {
    fields.push_back(fmt::format("section {} {} {}", Text(section->normal), section->position,
                                 section->isShare));
  } else {
    fields.emplace_back();
  }
  std::string effects;
  for (const auto& call : options.effects.calls) effects += gl3::DescribeEffect(call) + ";";
  fields.push_back(effects);
  for (std::string& field : DrawingFields(options.drawing)) fields.push_back(std::move(field));
  return fields;
}

/// What the words change, "; " between; "refused" with `*error` when they mean nothing.
std::string Become(const std::string& line, std::string* error) {
  gl3::RenderOptions plain, options;
  const gl3::OptionParser parser;
  gl3::AddRenderOptions(parser, &options);
  std::vector<std::string> words;
  EXPECT_TRUE(gl3::SplitCommand(line, &words));
  error->clear();
  if (!parser.Parse(words, error)) return "refused";
  const gl3::Outcome outcome = gl3::CheckRenderOptions(options);
  *error = outcome.message;
  if (!options.models.empty() && outcome.status != gl3::kDone) return "refused";
  const std::vector<std::string> before = Fields(plain), after = Fields(options);
  std::string text;
  for (std::size_t i = 0; i < after.size(); ++i) {
    if (after[i] != before[i]) text += (text.empty() ? "" : "; ") + after[i];
  }
  return text;
}

/// What a command line makes of the options.
const struct {
  const char *line, *options;
} kReadings[] = {
    {"a.obj b.obj --merge -o c.png --background '#12a' --view front",
     "a.obj+b.obj merged; -o c.png like ; on 0.07,0.13,0.67 false; view 0,0,1"},
    {"-s 97x63 --like d.exr --background '#336699' --view back",
     "-o  like d.exr; 97x63; on 0.20,0.40,0.60 false; view 0,0,-1"},
    {"--size 32768X8192 --antialias 4 --quality 1 --background 0,.25,1 --view left",
     "32768x8192; samples 4 quality 1; on 0.00,0.25,1.00 false; view -1,0,0"},
    {"-s 1x1 --antialias 1 --quality 100 --background cyan --view right",
     "1x1; samples 1 quality 100; on 0.00,1.00,1.00 false; view 1,0,0"},
    {"-s 8x9 -s 7x6 --background yellow --view top", "7x6; on 1.00,1.00,0.00 false; view 0,1,0"},
    {"--background magenta --view bottom", "on 1.00,0.00,1.00 false; view 0,-1,0"},
    {"--background gray --view iso", "on 0.50,0.50,0.50 false; view 1,1,1"},
    {"--background transparent --view 0,0,-3", "on 0.16,0.17,0.19 true; view 0,0,-3 as it is"},
    {"--no-background --camera a --camera b", "on 0.16,0.17,0.19 true; cameras a+b"},
    {"--eye 1,-2,3.5 --target 4,5,6 --up 0,0,7 --fov 0.1 --parallel",
     "eye 1,-2,3.5; target 4,5,6; up 0,0,7; fov 0.1 parallel true"},
    {"--eye 500000.125,4649776.25,0.1 --up-axis -Z", "eye 500000.125,4649776.25,0.1; axis 5"},
    {"--view 1,2,3 --view back", "view 0,0,-1"},
    {"--up-axis=+X --up-axis=auto", ""},
    {"--up-axis +X", "axis 0"},
    {"--fov 170 --frames 1-7x3 --fps 0.001",
     "fov 170 parallel false; frames 1,4,7 turn 0 fps 0.001"},
    {"--turntable 100000 --fps 100000 --animation Go --skip-existing --chunk 2/8",
     "frames  turn 100000 fps 100000; animation Go skip true chunk 2/8"},
    {"--effect blur --effect blur:radius=2.5,passes=3 --effect sobel:passes=100",
     "blur:radius=10,passes=1;blur:radius=2.5,passes=3;sobel:passes=100;"},
    {"--lights scene --mode flat --fog 0,9",
     "lights 1 mode 1; fog true false 0-9 1 0.00,0.00,0.00 false"},
    {"--lights three-point --mode wireframe-gl --fog 2.5,4,0.1,0.2,0.3",
     "lights 3 mode 3; fog true false 2.5-4 1 0.10,0.20,0.30 true"},
    {"--lights headlight --mode points --fog exp:0.25",
     "lights 2 mode 5; fog true true 0-1 0.25 0.00,0.00,0.00 false"},
    {"--mode lines --crease 180 --line-color 1,0.5,0 --fog exp:3,red",
     "lights 0 mode 4; crease 180; lines 255,128,0,255; fog true true 0-1 3 1.00,0.00,0.00 true"},
    {"--crease 0 --point-size 64 --backfaces --grid",
     "crease 0; points 64 backs true; grid true 0"},
    {"--edges --line-color white", "lines 255,255,255,255 edges"},
    {"--grid=0.25 --control-points", "grid true 0.25; markers -1"},
    {"--control-points=64 --depth z.EXR", "markers 64; depth z.EXR"},
    {"--overlay a,b.png --overlay c.png,7,-100000 --overlay d.png,3,4,0 --overlay d.png,3,4,0.25",
     "[a,b.png|0,0|1][c.png|7,-100000|1][d.png|3,4|0][d.png|3,4|0.25]"},
    {"--text 'one, two,3,100000,#f08' --text x,1,2 --text ,y --text a,1,b",
     "[one, two|3,100000|255,0,136,255][x|1,2|][,y||][a,1,b||]"},
    {"--section -z=1.5", "section 0,0,-1 -1.5 false"},
    {"--section -x=25%", "section -1,0,0 0.75 true"},
    {"--section 0,-3,4,2.5", "section 0,-0.6,0.8 2.5 false"},
    {"--text x,1px2 --text 'x, y,12px' --text x,1,2,256px --text 'x,1,2,#123,4px'",
     "[x,1px2||][x, y|||12][x|1,2||256][x|1,2|17,34,51,255|4]"},
    {"--device 0 --module m.so --json -q --timeout 0 --max-memory 64M",
     "device 0 module m.so json on told 0; limits 0 s 67108864"},
    {"--device gpu --json=a/b.json --verbose --timeout 1e6 --max-memory 1.5GiB",
     "device gpu module  json ona/b.json told 2; limits 1000000 s 1610612736"},
};

TEST(RenderOptions, BecomeWhatTheySay) {
  for (const auto& [line, options] : kReadings) {
    std::string error;
    EXPECT_EQ(Become(line, &error), options) << line << ": " << error;
  }
}

/// What is said about every one of an option's values.
struct Refusal {
  std::string option;
  std::vector<std::string> values, parts;
};
const Refusal kRefusals[] = {
    {"--size ",
     {"0x0", "32769x1", "1x32769", "32768x8193", "-1x5", "12x", "x1", "''"},
     {"1920x1080", "32768", "268435456"}},
    {"--antialias ", {"0", "5", "1.5"}, {"1 to 4"}},
    {"--quality ", {"0", "101"}, {"1 to 100"}},
    {"--background ",
     {"'#12'", "'#12g'", "''", "0,0,2", "-0.1,0,0", "1,1"},
     {"#rrggbb", "three numbers from 0 to 1", "transparent"}},
    {"--view ", {"0,0,0", "1,2"}, {"front"}},
    {"--fov ", {"180", "0.09"}, {"0.1 to 170"}},
    {"--eye ", {"1,2", "nan,0,1", "1,2,1e39"}, {"three numbers"}},
    {"--eye 1,2,3 --up ", {"0,0,0"}, {}},
    {"--eye 0,5,0 --target 0,0,0 --up ", {"0,-2,0"}, {"--up 0,0,1"}},
    {"--eye 1,2,3 --target ", {"1,2,3"}, {"--eye"}},
    {"--eye 0,0,1 --view ", {"top"}, {"--view excludes --eye"}},
    {"--target ", {"0,0,1"}, {"--target requires --eye"}},
    {"--up ", {"0,0,1"}, {"--up requires --eye"}},
    {"--up-axis ", {"Z", "+z", "''"}, {"auto, +X, -X"}},
    {"--fps ", {"0.0009", "100001"}, {"frames a second from 0.001 to 100000"}},
    {"--turntable ", {"0", "100001"}, {"1 to 100000"}},
    {"-o 'a##' --turntable 8 --frames ", {"0", "9"}, {"1 to 8"}},
    {"--turntable 2 --output ", {"a"}, {"2 frames", "####"}},
    {"--output ", {"'a##'"}, {"--frames"}},
    {"--camera all --output ", {"a"}, {"{camera}"}},
    {"--camera b --camera c --output ", {"a"}, {"{camera}"}},
    {"--output ", {"%c"}, {"--camera"}},
    {"--chunk ", {"1/2"}, {}},
    {"--effect ", {"blurr"}, {"blurr is no effect", "did you mean blur?", "sobel"}},
    {"--effect ", {"''"}, {"is no effect"}},
    {"--effect ", {"blur:radios=3"}, {"radios", "did you mean radius?", "passes"}},
    {"--effect ", {"sobel:radius=3"}, {"sobel has no parameter radius", "passes"}},
    {"--effect blur:",
     {"radius=501", "radius=nan", "radius"},
     {"radius", "a number from 0 to 500", "radius=10"}},
    {"--effect ", {"blur:"}, {"no parameter ''"}},
    {"--effect ",
     {"blur:radius=2,passes=1.5", "tint:passes=0"},
     {"passes=", "a whole number from 1 to 100"}},
    {"--azimuth ", {"361", "nan"}, {"-360 to 360"}},
    {"--elevation ", {"-91", "up"}, {"-90 to 90"}},
    {"--azimuth 3 --view ", {"top"}, {"excludes"}},
    {"--eye 1,2,3 --margin ", {"3"}, {"excludes"}},
    {"--margin ", {"-1", "91"}, {"0 to 90"}},
    {"--zoom ", {"0", "101"}, {"0.1 to 100"}},
    {"--fov 1 --zoom ", {"20"}, {"--zoom: ", "0.06"}},
    {"--hide ", {"''"}, {"Wheel*"}},
    {"--color ", {"pink"}, {"cyan"}},
    {"--material ", {"wood"}, {"clay"}},
    {"--section ", {"x", "w=1", "x=101%", "0,0,0,1", "1,0,0"}, {"y=50%"}},
    {"--section-color ", {"red"}, {"requires --section"}},
    {"--text ", {"A,3px", "A,1,2,257px"}, {"4px to 256px"}},
    {"--mode wireframe-gl --text ", {"A,9px"}, {"--mode wireframe"}},
    {"--mode wireframe-gl --scale-bar=", {"mm"}, {"--mode wireframe"}},
    {"--lights ", {"sun"}, {"three-point"}},
    {"--mode ", {"solid"}, {"shaded", "wireframe-gl", "points"}},
    {"--crease ", {"30"}, {"--mode lines"}},
    {"--mode lines --crease ", {"181", "-1"}, {"0 to 180"}},
    {"--line-color ", {"red"}, {"--mode wireframe", "--edges"}},
    {"--edges --mode ", {"lines", "points", "wireframe-gl"}, {"--mode shaded"}},
    {"--point-size ", {"65", "0"}, {"1 to 64"}},
    {"--fog ", {"5,5", "-1,5"}, {"NEAR < FAR"}},
    {"--fog ", {"5", "1,1e99"}, {"NEAR,FAR", "exp:0.1"}},
    {"--fog ", {"exp:0"}, {"above 0"}},
    {"--fog ", {"1,2,pink", "1,2,"}, {"cyan"}},
    {"--grid=", {"-1", "0"}, {"above 0"}},
    {"--control-points=", {"0", "65"}, {"1 to 64"}},
    {"--depth ", {"z.png"}, {".exr"}},
    {"--depth ", {"'z_##.exr'"}, {"--frames"}},
    {"-o 'p_##' --turntable 3 --depth ", {"z.exr"}, {"####"}},
    {"--mode wireframe-gl --depth ", {"z.exr"}, {"--mode wireframe"}},
    {"--mode wireframe-gl --overlay ", {"a"}, {"--mode wireframe"}},
    {"--overlay ", {"''"}, {"such as"}},
    {"--overlay ", {"a,1,2,1.5", "a,1,2,-0.1"}, {"0 (clear) to 1"}},
    {"--overlay ", {"a,1,100001", "a,-100001,1"}, {"-100000 to 100000"}},
    {"--text ", {"''"}, {"such as"}},
    {"--text ", {"x,200000,0", "x,-2147483648,0"}, {"-100000 to 100000"}},
    {"--timeout ", {"-1", "1000001"}, {"0 (no limit) to 1000000"}},
    {"--max-memory ", {"63M", "1kk", "3x", "8388608T"}, {"64M"}},
    {"-q --verbose ", {""}, {"excludes"}}};

TEST(RenderOptions, AreRefusedBeyondTheirRangesAndWithoutAMeaning) {
  for (const auto& [option, values, parts] : kRefusals) {
    const std::string name = option.substr(option.rfind("--"));
    for (const std::string& value : values) {
      std::string error;
      EXPECT_EQ(Become("m.obj -o o.png " + option + value, &error), "refused") << option << value;
      EXPECT_TRUE(Holds(error, {name.substr(0, name.find_first_of(" ="))}));
      EXPECT_TRUE(Holds(error, parts));
    }
  }
}

TEST(FilterOptions, HaveRanges) {
  for (const auto& [line, isGood] : {std::pair("--threads 1 --quality 100", true),
                                     {"--threads 256 --quality 1", true},
                                     {"--threads 0", false},
                                     {"--threads 257", false},
                                     {"--quality 0", false},
                                     {"--quality 101", false}}) {
    gl3::FilterOptions options;
    const gl3::OptionParser parser;
    gl3::AddFilterOptions(parser, &options);
    std::vector<std::string> words;
    std::string error;
    EXPECT_TRUE(gl3::SplitCommand(std::string(line) + " --effect tint a.png", &words));
    EXPECT_EQ(parser.Parse(words, &error), isGood) << line << error;
    EXPECT_EQ(options.threads, isGood ? std::stoi(words[1]) : 0);
    EXPECT_EQ(options.jpegQuality, isGood ? std::stoi(words[3]) : 92);
  }
}

TEST(FilterOptions, NameTheirOutputs) {
  const TempFolder folder;
  std::filesystem::create_directories(folder.Path("sub/out"));
  for (const char* name : {"a.png", "b.tga", "sub/a.png", "sub/out/a.png"}) folder.Write(name, "");
  const struct {
    std::vector<std::string> inputs;
    const char *output, *named;
  } cases[] = {{{"a.png"}, "c.exr", "c.exr"},
               {{"a.png"}, "a.png", "a.png"},
               {{"a.png"}, "x%%n_%n_##.jpg", "x%n_a_01.jpg"},
               {{"a.png", "b.tga", "sub/a.png"}, "%03d-%n.png", "001-a.png 002-b.png 003-a.png"},
               {{"a.png", "b.tga"}, "sub/out", "sub/out/a.png sub/out/b.png"},
               {{"a.png", "b.tga"}, "new/", "new/a.png new/b.png"},
               {{"a.png", "b.tga"}, "b.png", "one file for 2 pictures"},
               {{"a.png", "b.tga"}, "%%n.png", "one file for 2 pictures"},
               {{"a.png", "sub/a.png"}, "%n-new.png", "would both become"},
               {{"a.png", "sub/a.png"}, "new/", "would both become"},
               {{"b.tga", "a.png"}, "%n.png", "a.png is one of the pictures"},
               {{"a.png"}, "./", "a.png is one of the pictures"},
               {{"a.png"}, "{camera}.png", "{camera}.png' has a place"}};
  for (const auto& [inputs, output, named] : cases) {
    gl3::FilterOptions options;
    for (const std::string& input : inputs) options.inputs.push_back(folder.Path(input));
    options.output = folder.Path(output);
    std::vector<std::string> outputs;
    std::string text = gl3::NameOutputs(options, &outputs).message;
    if (!text.empty()) {
      EXPECT_TRUE(Holds(text, {named}));
      continue;
    }
    for (const std::string& path : outputs) {
      text += (text.empty() ? "" : " ") + path.substr(folder.Path("").size());
    }
    EXPECT_EQ(text, named) << output;
  }
  gl3::FilterOptions nowhere;
  nowhere.inputs = {"a.png"};
  std::vector<std::string> outputs = {"x"};
  EXPECT_NE(gl3::NameOutputs(nowhere, &outputs).message.find("--verify"), std::string::npos);
  nowhere.verify = true;
  EXPECT_EQ(gl3::NameOutputs(nowhere, &outputs).status, gl3::kDone);
  EXPECT_TRUE(outputs.empty());
  nowhere.skipExisting = true;
  EXPECT_EQ(gl3::NameOutputs(nowhere, &outputs).message.find("--skip-existing: "), 0u);
}

TEST(Text, TellsAmountsAndNearNames) {
  const struct {
    double amount;
    const char *bytes, *duration;
  } cases[] = {{0, "0 B", "0 s"},
               {59.4, "59 B", "59 s"},
               {59.5, "59 B", "1 min 0 s"},
               {1023, "1023 B", "17 min 3 s"},
               {1024, "1.0 KiB", "17 min 4 s"},
               {3599, "3.5 KiB", "59 min 59 s"},
               {3600, "3.5 KiB", "1 h 0 min"},
               {7384, "7.2 KiB", "2 h 3 min"},
               {5.5 * (1 << 20), "5.5 MiB", "1601 h 59 min"}};
  for (const auto& [amount, bytes, duration] : cases) {
    EXPECT_EQ(gl3::FormatBytes(static_cast<std::uint64_t>(amount)), bytes);
    EXPECT_EQ(gl3::FormatDuration(amount), duration);
  }
  EXPECT_EQ(gl3::FormatBytes(std::uint64_t{3} << 50), "3072.0 TiB");
  const std::vector<std::string> names = {"lines", "points", "flat"};
  for (const auto& [wrong, nearest] : {std::pair{"lnes", "lines"},
                                       {"LINES", "lines"},
                                       {"pints", "points"},
                                       {"fla", "flat"},
                                       {"fl", ""},
                                       {"xyz", ""}}) {
    EXPECT_EQ(gl3::NearestName(wrong, names), nearest) << wrong;
  }
}

}  // namespace
