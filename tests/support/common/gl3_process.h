// Runs the gl3 program from tests, in a folder of its own.
#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <cstddef>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

/// The words that gl3 is called with. In a line they are parted by blanks; those between
/// apostrophes may hold some.
struct Gl3Words : std::vector<std::string> {
  using std::vector<std::string>::vector;
  Gl3Words(const std::vector<std::string>& words) : vector(words) {}
  Gl3Words(const std::string& line);
  Gl3Words(const char* line) : Gl3Words(std::string(line)) {}
};

struct Gl3Result {
  int status = -1;  ///< Exit status, or 128 and the signal that ended it.
  std::string out, err;
};

struct Gl3Setup {
  std::vector<std::string> environment = {};  ///< NAME=value, added to the test's own.
  std::string program = {};                   ///< Another copy of gl3; empty: the built one.
  std::string terminal = {};  ///< Standard error's file in place of the captured one.
  std::string preload = {};   ///< A library that stands before all others.
  bool closeStandardStreams = false;
  std::size_t fileSizeLimit = 0;  ///< Bytes; 0: none. Also holds for what is captured.
};

/// A running gl3. Its output is captured in files.
class Gl3Process {
 public:
  /// Starts it with `folder` as its working directory; `logs` is a folder for what it prints.
  Gl3Process(const std::filesystem::path& folder, const std::filesystem::path& logs,
             const Gl3Words& words, const Gl3Setup& setup = {});
  ~Gl3Process();
  Gl3Process(const Gl3Process&) = delete;
  Gl3Process& operator=(const Gl3Process&) = delete;

  /// Waits until standard error holds `text`; false when the program ends without.
  bool WaitFor(const std::string& text);
  /// Its child process, 0 when there is none.
  pid_t Child() const;
  /// The process that the child has import for it, 0 when there is none.
  pid_t Importer() const;
  void Signal(int number);
  Gl3Result Finish();

 private:
  std::filesystem::path m_logs;
  pid_t m_process = -1;
};

/// A test with an empty working folder that goes when it ends.
class Gl3Test : public testing::Test {
 protected:
  Gl3Test();
  ~Gl3Test() override;

  std::filesystem::path Path(const std::string& name) const { return m_work / name; }
  void Write(const std::string& name, const std::string& text) const;
  /// A file's bytes; empty when it is not there.
  std::string Read(const std::string& name) const;
  /// Names of everything in the working folder, hidden files too.
  std::set<std::string> Names() const;
  Gl3Result Run(const Gl3Words& words, const Gl3Setup& setup = {}) const;
  /// Runs, and expects success without a word on standard error. Returns standard output.
  std::string Done(const Gl3Words& words, const Gl3Setup& setup = {}) const;
  /// Runs, and expects the status, nothing on standard output, one line on standard error that
  /// holds every one of `parts`, and no change in the working folder.
  void ExpectRefused(const Gl3Words& words, int status, const std::vector<std::string>& parts,
                     const Gl3Setup& setup = {}) const;

  std::filesystem::path m_base, m_work, m_logs;
};

/// A copy of the program as folder/bin/gl3 with links to its libraries in folder/lib/gl3, without
/// the renderer's module.
std::string CopyOfTheProgram(const std::filesystem::path& folder);

/// The last line of a text.
std::string LastLine(const std::string& text);

/// Two squares of the same size that face +z; the left one lies farther back.
extern const char* const kSquaresObj;
/// A triangle that faces +z with the cameras "Close", which sees it, and "Away", which does not.
extern const char* const kCamerasGltf;
/// An OBJ surface of about 2 * side * side triangles, which takes a while to import.
std::string LargeObj(int side);
