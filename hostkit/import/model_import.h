// Model files into scenes.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "hostkit/scene/scene.h"

namespace hostkit {

/// Where the files may lie that a model names: pictures, buffers, materials, other models.
enum class FileReach {
  kNeighbours,  ///< Below the model's folder, and in folders beside it that exporters use
                ///< ("../textures", "../images", "../maps" and such).
  kFolder,      ///< Below the model's folder alone.
};

/// How a model is imported.
struct ImportOptions {
  FileReach reach = FileReach::kNeighbours;  ///< Which files it may name.
  /// The process ends soon after: what the import library took is not given back, which takes it
  /// time with many small blocks.
  bool leavesMemory = false;
  /// Which of the scenes that a file holds, by name; empty: its own choice.
  std::string scene;
};

/// Reads a model file of any format that is known, with its external pictures.
/// On failure returns null, and `*error` is one line that names the file, the reason and the
/// remedy. A file that holds nothing to draw is a failure; a picture that cannot be read is a
/// warning in the scene, and so is a file that the model names and that lies out of reach.
///
/// `path` may be anywhere, also a link, but must be a regular file; with FileReach::kFolder no link
/// that leads out of its folder. What the model names is opened
/// within the reach alone: links count as where they lead, and hidden names, devices, pipes and
/// files of the kernel are refused. Of a path from another machine the last part is looked for in
/// the model's folder and in "textures" there. Faces that name missing vertices are left out before
/// anything follows them. A scene that the file does not have is a failure, too. All pictures
/// together hold at most 2 GiB once decoded, and archives that unpack to far more than their size
/// are refused. The process's current folder stays as it is.
///
/// The import library itself is trusted here with whatever the file holds; a host that reads the
/// files of strangers calls this in a process of its own that may do no more than that.
std::unique_ptr<Scene> ImportModel(const std::string& path, std::string* error,
                                   const ImportOptions& options = {});

/// A kind of model files.
struct ModelKind {
  std::string suffix;  ///< In small letters, with its dot.
  std::string format;  ///< For people.
};

/// All kinds that ImportModel reads, by their suffixes.
std::vector<ModelKind> ModelKinds();

/// The folders that importing a model at `path` may read: its own, and its neighbours where they
/// are allowed and there. For whoever confines the process. Where `path` is a link, the file that
/// it leads to may lie in none of them.
std::vector<std::string> ReadableFolders(const std::string& path, const ImportOptions& options);

}  // namespace hostkit
