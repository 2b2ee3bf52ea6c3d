// Copies of tables of virtual functions.
#include "hostkit/checking/virtual_table.h"

#include <elf.h>
#include <link.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <set>

namespace hostkit::checking {
namespace {

/// Before the first slot: the word that we add, and the two for dynamic_cast.
constexpr std::size_t kOriginalTable = 0, kHeadWords = 3;
constexpr std::size_t kAbiHeadWords = 2;
/// A class of the module may have virtual functions beyond those of the interface, and says nowhere
/// how many: so many slots are copied, or as many as can be read.
constexpr std::size_t kCopiedSlots = 256;

struct Segment {
  Word address;
  Word end;  // of the segment that the address lies in; 0 when there is none
};

int FindEnd(dl_phdr_info* library, std::size_t, void* data) {
  auto* segment = static_cast<Segment*>(data);
  for (int i = 0; i < library->dlpi_phnum; ++i) {
    const ElfW(Phdr)& header = library->dlpi_phdr[i];
    const Word begin = library->dlpi_addr + header.p_vaddr;
    if (header.p_type != PT_LOAD || segment->address < begin) continue;
    if (segment->address < begin + header.p_memsz) segment->end = begin + header.p_memsz;
  }
  return segment->end != 0;
}

/// Slots behind a table's address that are there to be read.
std::size_t ReadableSlots(const Word* table) {
  Segment segment{reinterpret_cast<Word>(table), 0};
  dl_iterate_phdr(FindEnd, &segment);
  if (segment.end == 0) return 0;
  return std::min<std::size_t>(kCopiedSlots, (segment.end - segment.address) / sizeof(Word));
}

/// Behind the end of the table lies what the address sanitizer guards.
__attribute__((no_sanitize("address"))) void CopyWords(const Word* from, std::size_t count,
                                                       Word* to) {
  const volatile Word* word = from;
  for (std::size_t i = 0; i < count; ++i) to[i] = word[i];
}

using Table = std::unique_ptr<Word[]>;

Table CopyTable(const Word* original, const std::vector<SlotChange>& changes) {
  const std::size_t slots = ReadableSlots(original);
  Table copy = std::make_unique<Word[]>(kHeadWords + std::max(slots, kCopiedSlots));
  copy[kOriginalTable] = reinterpret_cast<Word>(original);
  CopyWords(original - kAbiHeadWords, kAbiHeadWords + slots, &copy[kHeadWords - kAbiHeadWords]);
  for (const SlotChange& change : changes) copy[kHeadWords + change.slot] = change.function;
  return copy;
}

/// What an object's first word points to.
const Word* TableOf(const void* object) {
  const Word* table = nullptr;
  std::memcpy(&table, object, sizeof table);
  return table;
}

}  // namespace

void ExchangeTable(void* object, const std::vector<SlotChange>& changes) {
  // Never released: objects that the process leaves behind are deleted after all others.
  static auto& copies = *new std::map<const Word*, Table>;
  static auto& ours = *new std::set<const Word*>;
  const Word* const original = TableOf(object);
  if (ours.contains(original)) return;
  Table& copy = copies[original];
  if (!copy) copy = CopyTable(original, changes);
  const Word* const table = &copy[kHeadWords];
  ours.insert(table);
  std::memcpy(object, &table, sizeof table);
}

Word OriginalFunction(const void* object, std::size_t slot) {
  const Word* const copy = TableOf(object) - kHeadWords;
  return reinterpret_cast<const Word*>(copy[kOriginalTable])[slot];
}

}  // namespace hostkit::checking
