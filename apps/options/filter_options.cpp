// The options of `gl3 filter`: how each is read, its limits and its help.
#include "apps/options/filter_options.h"

#include "apps/options/option_readers.h"
#include "apps/options/picture_options.h"
#include "apps/options/standard_stream.h"

namespace gl3 {
namespace {

constexpr int kMaxThreads = 256;

constexpr const char* kFilterFooter = R"(
Pictures come as PNG, EXR, JPEG, WebP, TIFF, PNM, TGA, BMP or HDR, and are turned
upright where they say how (Exif). Effects work on display-referred colours from 0 to 1
with 8 bits a channel; what is above 1 is cut, with a warning. Alpha is kept, or
filtered by sharpen, dilate and erode; effects that are called opaque show what was
transparent on black. Without effects pictures are converted, and scaled with --size;
from 16 bits or floats to .exr they keep their range and half floats' precision.

OUT for several pictures: a folder that is there, or a name with %n for the
picture's own name without suffix, or #### (or %04d) for a number from 1. A picture
that fails is reported, the others are done all the same; the exit status is that of
the first failure.

Examples:
  gl3 filter *.tif -o small/%n.webp --size 640x
  gl3 filter shot.exr -o shot.jpg
  gl3 filter - -o - --format webp --size 640x <photo.jpg >small.webp
  gl3 filter photo.jpg -o soft.png --effect blur:radius=4,passes=2
  gl3 filter shot.exr -o edges.png --effect grayscale --effect sobel
  mkdir soft && gl3 filter frames/*.png -o soft/ --effect blur
  gl3 filter *.tga -o '%n-sharp.png' --effect sharpen --threads 4
  gl3 filter photo.jpg --effect blur --verify)";

}  // namespace

void AddFilterOptions(const OptionParser& parser, FilterOptions* options) {
  parser.SetFooter("\nEffects and their parameters:\n" + EffectHelp() + kFilterFooter);
  parser
      .AddWords("IMAGE", "...", "Pictures, each filtered by itself; -: standard input",
                &options->inputs)
      .Require();
  AddEffectOptions(parser, &options->effects);
  parser.BeginGroup("Picture");
  AddPictureFileOptions(parser, "\na pattern or folder for several, see below; -: standard output",
                        &options->output, &options->jpegQuality, &options->exrEncoding);
  AddStreamFormatOption(parser, &options->format);
  parser.Add("-s,--size", "WxH",
             "Scale to this size before all effects; one side alone (640x, x480)\n"
             "keeps the shape",
             [=](const std::string& t, std::string* e) {
               return ReadPictureSize(t, true, &options->width, &options->height, e);
             });
  AddRecipeOption(parser, &options->recipe);
  parser.AddFlag("--skip-existing",
                 "Leave out pictures whose output is there, to go on with a run\n"
                 "that was broken off",
                 &options->skipExisting);
  parser.AddFlag("--verify",
                 "Compute each effect on the processor too, and print the largest\n"
                 "difference; beyond what is allowed the exit status is 6. OUT may\n"
                 "then be left out",
                 &options->verify);
  AddRunOptions(parser, &options->run);
  parser.Find("--confined").Describe("Fail where the kernel cannot confine (also: GL3_CONFINED=1)");
  parser.Add("--threads", "N",
             "Threads that write results, 1 to 256 (default: the setting\n"
             "\"OpenMP Threads\")",
             IntegerReader(1, kMaxThreads, &options->threads));
}

Outcome CheckFilterOptions(const FilterOptions& options) {
  if (options.verify && options.effects.calls.empty()) {
    return {kWrongUsage, "--verify: there is no effect to compare; add --effect"};
  }
  Outcome outcome =
      CheckStreamOptions(options.output, options.format, options.skipExisting, options.run);
  if (outcome.status != kDone || options.output != kStandardStream) return outcome;
  if (!options.verify || options.run.json) return {};
  return {kWrongUsage,
          "--verify: standard output carries the pictures; leave -o out, or give --json=FILE"};
}

}  // namespace gl3
