// JPEG files: 8-bit, opaque; transparent pictures on black.
#include <cerrno>
#include <csetjmp>
#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

#include <jpeglib.h>  // needs cstdio before it

#include <algorithm>

#include "hostkit/pictures/picture_encoders.h"
#include "hostkit/pictures/picture_file.h"

namespace hostkit {
namespace {

constexpr std::size_t kMaxComment = 65533;  // bytes in one marker
constexpr int kFullColorQuality = 90;       // from here on colour keeps the full resolution

// libjpeg reports errors by a long jump: only plain locals may stand between RunJpegJob and the
// jump.
struct JpegJob {
  jpeg_error_mgr errors;
  std::jmp_buf jump;
  jpeg_compress_struct jpeg;
  std::FILE* stream = nullptr;
  const PicturePixels* pixels = nullptr;
  const char* comment = nullptr;
  std::size_t commentSize = 0;
  int quality = 92;
  unsigned char* row = nullptr;
  int errorCode = 0;
  char message[JMSG_LENGTH_MAX] = "";
};

void OnJpegError(j_common_ptr common) {
  auto* job = static_cast<JpegJob*>(common->client_data);
  job->errorCode = std::ferror(job->stream) ? (errno ? errno : EIO) : 0;
  common->err->format_message(common, job->message);
  std::longjmp(job->jump, 1);
}

void OnMessage(j_common_ptr) {}

void WriteJpegImage(JpegJob& job) {
  jpeg_compress_struct* jpeg = &job.jpeg;
  const PicturePixels& pixels = *job.pixels;
  jpeg_stdio_dest(jpeg, job.stream);
  jpeg->image_width = static_cast<JDIMENSION>(pixels.width);
  jpeg->image_height = static_cast<JDIMENSION>(pixels.height);
  jpeg->input_components = 3;
  jpeg->in_color_space = JCS_RGB;
  jpeg_set_defaults(jpeg);
  jpeg_set_quality(jpeg, job.quality, TRUE);
  if (job.quality >= kFullColorQuality) {
    jpeg->comp_info[0].h_samp_factor = jpeg->comp_info[0].v_samp_factor = 1;
  }
  jpeg_start_compress(jpeg, TRUE);
  for (std::size_t at = 0; at < job.commentSize; at += kMaxComment) {
    std::size_t size = std::min(kMaxComment, job.commentSize - at);
    jpeg_write_marker(jpeg, JPEG_COM, reinterpret_cast<const JOCTET*>(job.comment + at),
                      static_cast<unsigned>(size));
  }
  for (int y = 0; y < pixels.height; ++y) {
    RowToRgb(pixels, y, job.row);
    jpeg_write_scanlines(jpeg, &job.row, 1);
  }
  jpeg_finish_compress(jpeg);
}

bool RunJpegJob(JpegJob& job) {
  if (setjmp(job.jump)) return false;
  jpeg_create_compress(&job.jpeg);
  WriteJpegImage(job);
  return true;
}

}  // namespace

bool EncodeJpeg(std::FILE* stream, const PicturePixels& pixels, const Recipe& recipe,
                const PictureOptions& options, std::string* reason) {
  if (pixels.width > JPEG_MAX_DIMENSION || pixels.height > JPEG_MAX_DIMENSION) {
    *reason = "a side is over the 65500 pixels that JPEG allows; write .png or .exr";
    return false;
  }
  const std::string comment = RecipeText(recipe);
  std::vector<unsigned char> row(static_cast<std::size_t>(pixels.width) * 3);

  JpegJob job;
  job.stream = stream;
  job.pixels = &pixels;
  job.comment = comment.data();
  job.commentSize = comment.size();
  job.quality = std::clamp(options.quality, 1, 100);
  job.row = row.data();
  job.jpeg = {};
  job.jpeg.err = jpeg_std_error(&job.errors);
  job.errors.error_exit = OnJpegError;
  job.errors.output_message = OnMessage;
  job.jpeg.client_data = &job;
  errno = 0;
  bool good = RunJpegJob(job);
  jpeg_destroy_compress(&job.jpeg);
  if (good) return true;
  *reason = job.errorCode ? WriteErrorText(job.errorCode)
                          : std::string("the JPEG library reports: ") + job.message +
                                "; try a smaller picture or .png";
  return false;
}

}  // namespace hostkit
