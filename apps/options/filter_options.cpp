// The options of `gl3 filter`: how each is read, its limits and its help.
#include "apps/options/filter_options.h"

#include "apps/options/option_readers.h"

namespace gl3 {
namespace {

constexpr int kMaxThreads = 256;

constexpr const char* kFilterFooter = R"(
Pictures come as EXR, PNG, JPEG, WebP, TGA, BMP or HDR. Effects work on
display-referred colours from 0 to 1 with 8 bits a channel; what is above 1 is cut,
with a warning. Alpha is kept, or filtered by sharpen, dilate and erode; effects that
are called opaque show what was transparent on black.

OUT for several pictures: a folder that is there, or a name with %n for the
picture's own name without suffix, or #### (or %04d) for a number from 1. A picture
that fails is reported, the others are done all the same; the exit status is that of
the first failure.

Examples:
  gl3 filter photo.jpg -o soft.png --effect blur:radius=4,passes=2
  gl3 filter shot.exr -o edges.png --effect grayscale --effect sobel
  mkdir soft && gl3 filter frames/*.png -o soft/ --effect blur
  gl3 filter *.tga -o '%n-sharp.png' --effect sharpen --threads 4
  gl3 filter photo.jpg --effect blur --verify)";

}  // namespace

void AddFilterOptions(const OptionParser& parser, FilterOptions* options) {
  parser.SetFooter("\nEffects and their parameters:\n" + EffectHelp() + kFilterFooter);
  parser.AddWords("IMAGE", "...", "Pictures, each filtered by itself", &options->inputs).Require();
  AddEffectOptions(parser, &options->effects).Require();
  parser.BeginGroup("Picture");
  parser.AddText("-o,--output", "OUT",
                 "The picture: .png (8 bits, straight alpha), .exr (half floats,\n"
                 "premultiplied alpha), .jpg or .jpeg; replaced when it exists.\n"
                 "A pattern or folder for several, see below",
                 &options->output);
  AddRecipeOption(parser, &options->recipe);
  parser.Add("--quality", "N", "Of JPEG, 1 to 100 (default 92)",
             IntegerReader(1, 100, &options->jpegQuality));
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

}  // namespace gl3
