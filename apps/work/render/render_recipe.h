// What a picture tells about how it was made.
#pragma once

#include <string>
#include <vector>

#include "apps/options/render_options.h"
#include "apps/work/render/render_sequence.h"
#include "hostkit/pictures/picture.h"
#include "hostkit/scene/scene.h"

namespace gl3 {

/// What all pictures of a run have in their recipes: the command line, version, renderer, and each
/// model's path with its hash. Files that a model refers to are not hashed.
struct RecipeBase {
  std::string command;  ///< As RecipeCommand has it.
  std::string renderer;
  std::vector<std::string> inputs;  ///< Path, space, hash.
};

/// "PATH HASH" of each model.
std::vector<std::string> DescribeInputs(const std::vector<std::string>& models);

/// The recipe of a picture, of the kind that `options` ask for. `camera` is as DescribeCamera says.
/// Pictures of a sequence have their frame and its time in seconds, those of a model's own camera
/// its name.
hostkit::Recipe MakeRecipe(const RecipeBase& base, const RenderOptions& options, const Shot& shot,
                           const std::string& camera);

/// What stands behind the ids of the passes that are written: the names of the nodes that place
/// the scene's instances, or else of their meshes, and of its materials in their order, as JSON
/// arrays of text. Nothing where recipes tell nothing.
void AddIdNames(const RenderOptions& options, const hostkit::Scene& scene, hostkit::Recipe* recipe);

/// One line for each model whose hash is not the one in the recipe that is repeated.
std::vector<std::string> CompareInputs(const RenderOptions& options,
                                       const std::vector<std::string>& inputs);

}  // namespace gl3
