// Names of output files with places for the frame, the camera and the name of what is read.
#pragma once

#include <string>
#include <vector>

namespace gl3 {

/// A name such as "shot_####.png" or "%c_%04d.exr". In it stand
///   ####, %d, %4d, %04d   for the frame's number; at least two #, as many digits as #, and more
///                         when the number has more; %4d is taken for %04d
///   %c, {camera}          for the camera's name
///   %n, {name}            for the name of the file that is read, without folder and suffix
///   %%                    for a percent sign
/// and everything else for itself, a single # and a % before other letters included.
class OutputPattern {
 public:
  explicit OutputPattern(const std::string& text);

  bool HasFrame() const { return m_hasFrame; }
  bool HasCamera() const { return m_hasCamera; }
  bool HasName() const { return m_hasName; }
  /// The folder below which all lies that Expand gives, with a slash; empty for the current one.
  std::string Folder() const;
  /// The camera's name must be fit for a file's: see FileNames. `name` is as NameOfFile has it;
  /// nothing in it is taken for a place.
  std::string Expand(int frame, const std::string& camera, const std::string& name = "") const;

 private:
  enum class Kind { kText, kFrame, kCamera, kName };
  struct Piece {
    Kind kind = Kind::kText;
    int digits = 0;  // at least, of a frame's number
    std::string text;
  };
  void Add(Kind kind, int digits);
  void AddText(const std::string& text);

  std::vector<Piece> m_pieces;
  bool m_hasFrame = false, m_hasCamera = false, m_hasName = false;
};

/// What %n stands for: a path without its folder and suffix.
std::string NameOfFile(const std::string& path);

/// Names out of model files made fit for parts of file names: without slashes, control characters
/// or a dot in front, of at most 100 bytes, and all different ("-2", "-3", ... are appended).
std::vector<std::string> FileNames(const std::vector<std::string>& names);

}  // namespace gl3
