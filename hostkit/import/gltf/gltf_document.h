// A glTF 2.0 file taken apart: its JSON, the bytes beside it in the file, and what is told of it.
//
// It is read here with a JSON library alone, and not with one made for glTF: that one follows
// nested values by recursion, refuses chunks of odd lengths and indices without bytes, and gives up
// a whole file for any part of it.
#pragma once

#include <map>
#include <span>
#include <string>
#include <vector>

#include "hostkit/import/gltf/gltf_json.h"
#include "hostkit/import/model_reader.h"
#include "hostkit/import/read_meshes.h"

namespace hostkit::gltf {

using Bytes = std::span<const unsigned char>;

class Document {
 public:
  /// `source` must outlive it.
  explicit Document(const ModelSource& source) : m_source(source) {}
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;

  /// Reads the file and looks whether it can be understood. On failure false with one line in
  /// `*error`, which is empty where the file is of glTF 1.0.
  bool Load(std::string* error);

  Json Root() const { return m_json.Root(); }
  /// The entry of a list at the top; a null value where there is none.
  Json Item(const char* list, int index) const { return gltf::Entry(Member(Root(), list), index); }
  /// The chunk of bytes in a binary file; empty in others.
  Bytes Binary() const { return m_binary; }
  /// How many bytes the file has.
  std::size_t Size() const { return m_file.size; }

  const ModelSource& Source() const { return m_source; }
  const std::string& Path() const { return m_source.files.ModelPath(); }

  /// The item's name for messages: its own, else its kind and index.
  std::string NameOf(const char* kind, Json item, int index) const;

  /// Notes something for the warnings: what of a kind happened to that thing. `what` reads on after
  /// the model's name, and holds for one as for many.
  void Note(const std::string& what, const std::string& name);
  /// Adds the notes to the scene's warnings, a line a kind.
  void TellNotes();

 private:
  struct Notes {
    std::size_t count = 0;
    std::string names;  ///< The first few.
  };

  Bytes File() const {
    return {reinterpret_cast<const unsigned char*>(m_file.bytes.get()), m_file.size};
  }
  bool TakeApart(Bytes* text, std::string* error);
  bool TakeChunks(Bytes* text, std::string* error);
  bool Parse(Bytes text, std::string* error);
  bool CheckVersion(std::string* error);
  bool CheckExtensions(std::string* error);
  std::string EndsAfter(std::uint64_t size, std::uint64_t expected) const;

  const ModelSource& m_source;
  FileBytes m_file;  ///< Of a text nothing stays once it is parsed.
  Bytes m_binary;
  JsonText m_json;
  std::map<std::string, Notes> m_notes;
};

/// "ends after 2,000 of 120,484 bytes".
std::string EndsAfterText(std::uint64_t size, std::uint64_t expected);

}  // namespace hostkit::gltf
