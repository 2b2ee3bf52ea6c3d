// What `gl3 info` tells of models, and of the kinds of files.
#include "apps/work/info/model_info.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "apps/base/file_checks.h"
#include "apps/base/text.h"
#include "apps/work/info/info_report.h"
#include "apps/work/info/model_facts.h"
#include "hostkit/isolated/import_process.h"
#include "hostkit/pictures/picture_formats.h"
#include "hostkit/scene/scene.h"

namespace gl3 {
namespace {

std::string FormatModel(const Json& model) {
  return OneLine(model["model"].get<std::string>()) + "\n" + Aligned(LinesOf(model));
}

/// Imports that go on two at a time: one is waited for, the next is begun, unless both together
/// would take more memory than there may be; then it is begun when its turn comes.
class Imports {
 public:
  explicit Imports(const InfoOptions& options) : m_options(options) {}
  Imports(const Imports&) = delete;
  Imports& operator=(const Imports&) = delete;

  hostkit::ImportEnd Next(std::unique_ptr<hostkit::Scene>* scene, std::string* error) {
    if (!m_next) Begin();
    const std::unique_ptr<hostkit::ImportProcess> import = std::move(m_next);
    Begin();
    return import->Finish({}, scene, error);
  }

 private:
  /// Whether what the one that is waited for holds may be; the other gives way to it.
  bool Fit(std::uint64_t held) {
    const std::uint64_t most = m_options.run.limits.maxMemory;
    if (m_next && held + m_next->HeldMemory() > most) {
      m_next.reset();
      --m_begun;
    }
    return held <= most;
  }
  void Begin() {
    if (m_begun == m_options.models.size()) return;
    const Limits& limits = m_options.run.limits;
    hostkit::ImportLimits own;
    own.seconds = own.processorSeconds = limits.timeoutSeconds;
    own.memory = limits.maxMemory;
    own.fits = [this](std::uint64_t held) { return Fit(held); };
    own.confined = m_options.run.confined;
    own.showsMessages = m_options.run.verbosity == Verbosity::kVerbose;
    m_next = std::make_unique<hostkit::ImportProcess>(
        std::vector<std::string>{m_options.models[m_begun++]}, own);
  }

  const InfoOptions& m_options;
  std::size_t m_begun = 0;
  std::unique_ptr<hostkit::ImportProcess> m_next;
};

/// The kinds of pictures as JSON, those that are written where `written` is set.
Json PictureKinds(bool written) {
  Json kinds = Json::array();
  for (const hostkit::PictureFormat& format : hostkit::kPictureFormats) {
    if (written && !format.written) continue;
    Json suffixes = Json::array();
    const std::size_t count = written ? format.writtenSuffixes : std::size(format.suffixes);
    for (std::size_t i = 0; i < count && format.suffixes[i]; ++i) {
      suffixes.push_back(format.suffixes[i]);
    }
    kinds.push_back({{"format", format.name},
                     {"suffixes", suffixes},
                     {"what", written ? format.written : format.read}});
  }
  return kinds;
}

std::string FormatPictureKinds(const Json& kinds) {
  ReportLines lines;
  for (const Json& kind : kinds) {
    std::string suffixes;
    for (const Json& suffix : kind["suffixes"]) suffixes += " " + suffix.get<std::string>();
    lines.emplace_back(suffixes.substr(1),
                       kind["format"].get<std::string>() + ": " + kind["what"].get<std::string>());
  }
  return Aligned(lines);
}

}  // namespace

Outcome TellModels(const InfoOptions& options, std::string* result) {
  Outcome outcome;
  Json models = Json::array();
  std::string text;
  Imports imports(options);
  for (const std::string& path : options.models) {
    std::unique_ptr<hostkit::Scene> scene;
    std::string error;
    const hostkit::ImportEnd end = imports.Next(&scene, &error);
    if (end == hostkit::ImportEnd::kDone) {
      models.push_back(DescribeModel(path, *scene));
      text += (text.empty() ? "" : "\n") + FormatModel(models.back());
      continue;
    }
    const Outcome failed = end == hostkit::ImportEnd::kUnreadable ? UnreadableInput({path}, error)
                                                                  : Outcome{kRunFailed, error};
    models.push_back({{"model", path}, {"status", failed.status}, {"error", failed.message}});
    PrintError(failed.message);
    if (outcome.status == kDone) outcome.status = failed.status;
  }
  *result = options.run.json ? PrintedJson({{"models", models}}) : text;
  return outcome;
}

Outcome TellFormats(const InfoOptions& options, std::string* result) {
  std::vector<hostkit::ImportKind> kinds;
  std::string error;
  if (!hostkit::ListImportKinds(&kinds, &error)) return {kRunFailed, error};
  Json models = Json::array();
  ReportLines lines;
  for (const hostkit::ImportKind& kind : kinds) {
    models.push_back({{"format", kind.format}, {"suffixes", Json::array({kind.suffix})}});
    lines.emplace_back(kind.suffix, kind.format);
  }
  const Json read = PictureKinds(false), written = PictureKinds(true);
  *result =
      options.run.json
          ? PrintedJson(
                {{"modelsRead", models}, {"picturesRead", read}, {"picturesWritten", written}})
          : "Models read\n" + Aligned(lines) + "\nPictures read\n" + FormatPictureKinds(read) +
                "\nPictures written\n" + FormatPictureKinds(written);
  return {};
}

}  // namespace gl3
