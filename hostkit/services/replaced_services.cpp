// Which services come from where. The program's definitions come before the library's, function by
// function: who defines a class of the same name by accident has replaced those alone that both
// have.
#include "hostkit/services/replaced_services.h"

#include <cxxabi.h>
#include <dlfcn.h>
#include <fmt/format.h>

#include <cstdlib>
#include <memory>

namespace hostkit {
namespace {

/// Functions that know each other's memory. Heaps are no kinds here: functions that count, or fail
/// for a test, and pass the call on replace one of a pair with good reason.
struct Kind {
  const char* name;
  std::vector<const char*> symbols;
};

const std::vector<Kind>& Kinds() {
  static const auto& kinds = *new std::vector<Kind>{
      {"class String is",
       {"_ZN6StringC1EPKc", "_ZN6StringC1ERKS_", "_ZN6StringD1Ev", "_ZN6StringaSEOS_",
        "_ZN6StringaSERKS_", "_ZN6StringpLERKS_", "_ZNK6String11ReverseFindEc",
        "_ZNK6String3MidEii", "_ZNK6String4FindERKS_", "_ZNK6String4FindEic"}},
      {"class FileStream is",
       {"_ZN10FileStreamD1Ev", "_ZN10FileStream4OpenERK6Stringi", "_ZN10FileStream5CloseEv",
        "_ZN10FileStream5WriteEPKc"}},
      {"class GAColor is", {"_ZN7GAColorC1ERKS_", "_ZN7GAColoraSERKS_", "_ZN7GAColor3SetEhhhh"}},
      {"the bitmaps are",
       {"_ZN11HTreeObject12DeleteHandleEv", "_ZN10HByteBlock12DeleteHandleEv",
        "_ZN10HByteBlockD1Ev", "_ZN13HBitmapBufferC1ERK6StringNS_11ChannelTypeEiii",
        "_ZN13HBitmapBufferD1Ev", "_ZN13HBitmapBuffer12AllocateDataEi",
        "_ZN11HRGBABuffer7GetDataEi",
        "_ZN11HBitmapNode16CreateRGBABufferE6StringN13HBitmapBuffer11ChannelTypeEii",
        "_ZN11HBitmapNode9AddBufferEP13HBitmapBuffer", "_ZNK11HBitmapNode10FindBufferERK6String",
        "_ZN11HBitmapNode13RemoveBuffersERK6String", "_ZNK11HBitmapNode4CopyEv",
        "_ZN11HBitmapNode4CopyERKS_", "_ZN11HBitmapNode11ScaleBitmapEii",
        "_ZN11HBitmapNode15CreateByteBlockEiPii", "_ZN11HBitmapNodeD1Ev"}},
      {"the registry is",
       {"_Z16GetRegistryValueRK6StringS1_i", "_Z16SetRegistryValueRK6StringS1_i"}},
  };
  return kinds;
}

std::string Readable(const char* symbol) {
  int status = 0;
  const std::unique_ptr<char, decltype(&std::free)> name(
      abi::__cxa_demangle(symbol, nullptr, nullptr, &status), &std::free);
  return status == 0 ? name.get() : symbol;
}

}  // namespace

std::string SupplierOf(const char* symbol) {
  const void* const address = dlsym(RTLD_DEFAULT, symbol);
  Dl_info found{};
  if (!address || dladdr(address, &found) == 0 || !found.dli_fname) return {};
  return found.dli_fname;
}

std::vector<std::string> HalfReplacedServices(
    const std::function<std::string(const char*)>& supplierOf) {
  std::vector<std::string> lines;
  for (const Kind& kind : Kinds()) {
    const char* const first = kind.symbols.front();
    const std::string supplier = supplierOf(first);
    for (const char* symbol : kind.symbols) {
      const std::string other = supplierOf(symbol);
      if (other == supplier || other.empty()) continue;
      lines.push_back(
          fmt::format("{} replaced in part: {} comes from {}, and {} from {}; define all that "
                      "belong together, or give what is none of them another name or a namespace",
                      kind.name, Readable(first), supplier, Readable(symbol), other));
      break;
    }
  }
  const std::string library = supplierOf("_ZN7hostkit10CountHeapsEv");
  const std::string heap = supplierOf("_Z7FreeExtPv");
  if (heap != library && supplierOf("_ZN13HBitmapBuffer12AllocateDataEi") == library) {
    lines.push_back(
        fmt::format("FreeExt(void*) comes from {}, and cannot release the pictures of the bitmaps "
                    "of {}; define the bitmaps as well, or neither",
                    heap, library));
  }
  return lines;
}

}  // namespace hostkit
