// What the import library reads: the model itself, and what that names within its reach.
#pragma once

#include <assimp/IOSystem.hpp>
#include <set>
#include <string>
#include <vector>

#include "hostkit/import/model_files.h"

namespace hostkit {

/// Hands the import library files of `files` and no others, for reading alone.
class ModelIo : public Assimp::IOSystem {
 public:
  /// None is owned, and all must outlive the object. `faults` gets one line, once, for each
  /// file that a model names and does not get, other than those that are not there; 100 at most.
  /// Unless it is empty, `model` are the bytes that the model is taken to have.
  ModelIo(const ModelFiles& files, const std::string& model, std::vector<std::string>& faults)
      : m_files(files), m_model(model), m_faults(faults) {}

  bool Exists(const char* path) const override;
  char getOsSeparator() const override { return '/'; }
  Assimp::IOStream* Open(const char* path, const char* mode) override;
  void Close(Assimp::IOStream* stream) override;
  bool ComparePaths(const char* one, const char* second) const override;
  // Nothing is made, deleted, or changed about the process.
  bool CreateDirectory(const std::string&) override { return false; }
  bool ChangeDirectory(const std::string&) override { return false; }
  bool DeleteFile(const std::string&) override { return false; }

 private:
  OpenedFile Find(const std::string& path) const;
  bool IsTold(const std::string& reference) const;
  void Tell(const std::string& reference, std::string line) const;

  const ModelFiles& m_files;
  const std::string& m_model;
  std::vector<std::string>& m_faults;
  mutable std::vector<std::string> m_told;  ///< Names without "..", that no more is said of.
  std::set<FileId> m_checked;               ///< Files that are no archives, or good ones.
};

}  // namespace hostkit
