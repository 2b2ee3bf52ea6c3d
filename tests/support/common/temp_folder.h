// A folder of a test's own.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

/// A folder that is made with the object, readable for every user, and goes with it.
class TempFolder {
 public:
  TempFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "gl3test.XXXXXX").string();
    m_path = mkdtemp(name.data());
    std::filesystem::permissions(m_path, std::filesystem::perms(0755));
  }
  ~TempFolder() { std::filesystem::remove_all(m_path); }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  std::string Path(const std::string& name) const { return (m_path / name).string(); }
  void Write(const std::string& name, const std::string& content) const {
    std::ofstream(m_path / name, std::ios::binary) << content;
  }
  std::string Read(const std::string& name) const {
    std::ifstream file(m_path / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  bool Has(const std::string& name) const { return std::filesystem::exists(m_path / name); }
  /// How many files it holds.
  long Count() const { return std::distance(std::filesystem::directory_iterator(m_path), {}); }

 private:
  std::filesystem::path m_path;
};
