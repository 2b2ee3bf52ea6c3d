// Pictures that the viewer lays over and under its frames.
#include "apps/work/render/layer_pictures.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <utility>

#include "apps/base/supervised_child.h"
#include "hostkit/isolated/import_process.h"
#include "hostkit/services/bitmap_ptr.h"

namespace gl3 {
namespace {

using hostkit::ImportEnd;

// The window waits so long at most.
constexpr double kDecodeSeconds = 20;
// Pixels that are kept for being asked for again, in bytes, and files.
constexpr std::size_t kMostBytes = std::size_t{256} << 20, kMostFiles = 64;

/// What differs once a file is another one; empty where there is none.
std::string StampOf(const std::string& path) {
  struct stat s {};
  if (stat(path.c_str(), &s) != 0) return "";
  return fmt::format("{} {} {} {}.{} {}.{}", s.st_dev, s.st_ino, s.st_size, s.st_mtim.tv_sec,
                     s.st_mtim.tv_nsec, s.st_ctim.tv_sec, s.st_ctim.tv_nsec);
}

std::size_t BytesOf(const std::shared_ptr<HBitmapNode>& bitmap) {
  if (!bitmap) return 0;
  return std::size_t{4} * static_cast<std::size_t>(bitmap->GetWidth()) *
         static_cast<std::size_t>(bitmap->GetHeight());
}

}  // namespace

Outcome LayerPictures::Read(const std::string& path, bool mustBeConfined,
                            std::shared_ptr<HBitmapNode>* bitmap) {
  const std::string stamp = StampOf(path);
  const auto found = std::find_if(m_known.begin(), m_known.end(), [&](const Known& known) {
    return known.path == path && known.stamp == stamp;
  });
  if (found != m_known.end()) {
    std::rotate(found, found + 1, m_known.end());
    *bitmap = m_known.back().bitmap;
    return m_known.back().outcome;
  }
  hostkit::ImportLimits limits;
  limits.seconds = limits.processorSeconds = kDecodeSeconds;
  limits.memory = Limits().maxMemory;
  limits.confined = mustBeConfined;
  hostkit::BitmapPtr picture;
  Outcome outcome;
  const ImportEnd end = hostkit::DecodeApart(path, limits, &picture, &outcome.message);
  const bool isOfFile = end == ImportEnd::kUnreadable || end == ImportEnd::kLate;
  if (end != ImportEnd::kDone) outcome.status = isOfFile ? kUnreadableInput : kRunFailed;
  *bitmap = std::shared_ptr<HBitmapNode>(std::move(picture));
  std::erase_if(m_known, [&](const Known& known) { return known.path == path; });
  if (!stamp.empty() && outcome.status != kRunFailed) {
    m_known.push_back({path, stamp, outcome, *bitmap});
    Forget();
  }
  return outcome;
}

/// Lets go of what is too much, but not of the one that was asked for last.
void LayerPictures::Forget() {
  std::size_t bytes = 0, kept = 0;
  for (auto known = m_known.rbegin(); known != m_known.rend(); ++known, ++kept) {
    bytes += BytesOf(known->bitmap);
    if (kept > 0 && (bytes > kMostBytes || kept == kMostFiles)) break;
  }
  m_known.erase(m_known.begin(), m_known.end() - static_cast<std::ptrdiff_t>(kept));
}

}  // namespace gl3
