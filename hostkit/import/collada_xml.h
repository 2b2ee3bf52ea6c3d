// Ways through a COLLADA document.
#pragma once

#include <map>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hostkit/import/model_files.h"

namespace hostkit::collada {

using Elements = std::map<std::string, pugi::xml_node>;  // by identifier

/// Calls `visit` for every element of that name, wherever it is.
template <class Visit>
class Walker : public pugi::xml_tree_walker {
 public:
  Walker(const char* name, Visit visit) : m_name(name), m_visit(std::move(visit)) {}
  bool for_each(pugi::xml_node& node) override {
    if (std::string_view(node.name()) == m_name) m_visit(node);
    return true;
  }

 private:
  std::string_view m_name;
  Visit m_visit;
};

template <class Visit>
void ForEach(pugi::xml_node root, const char* name, Visit visit) {
  Walker<Visit> walker(name, std::move(visit));
  root.traverse(walker);
}

/// Reads the model, out of its archive if it is in one: then `*entry` becomes its name there. False
/// when it is no COLLADA.
bool Load(const ModelFiles& files, pugi::xml_document& document, std::string* entry,
          unsigned options = pugi::parse_default);

/// The model's bytes with `document` in place of the one that Load has read, of `entry` in its
/// archive if that is not "". "" when the archive cannot be read whole.
std::string ToBytes(const ModelFiles& files, const pugi::xml_document& document,
                    const std::string& entry);

/// The first word among the indices of faces that is no whole number, at which the import library
/// would go on for ever; "" where there is none.
std::string OddIndex(const pugi::xml_document& document);

/// All elements of that name.
Elements ById(pugi::xml_node root, const char* name);

/// The element that a "#identifier" leads to; an empty one where there is none.
pugi::xml_node Target(const Elements& elements, const char* url);

/// The `source` of an input of that meaning.
const char* InputOf(const pugi::xml_node& node, const char* semantic);

/// The numbers of a source's array, in the order of its accessor; of each element the first `each`.
std::vector<double> NumbersOf(const pugi::xml_node& source, std::size_t each);

/// The words of a source's array of names.
std::vector<std::string> NamesOf(const pugi::xml_node& source);

/// Whether a source of curves names steps alone.
bool AreSteps(const pugi::xml_node& source);

}  // namespace hostkit::collada
