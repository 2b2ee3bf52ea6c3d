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
      {"String",
       {"_ZN6StringC1EPKc", "_ZN6StringC1ERKS_", "_ZN6StringD1Ev", "_ZN6StringaSEOS_",
        "_ZN6StringaSERKS_", "_ZN6StringpLERKS_", "_ZNK6String11ReverseFindEc",
        "_ZNK6String3MidEii", "_ZNK6String4FindERKS_", "_ZNK6String4FindEic"}},
      {"FileStream",
       {"_ZN10FileStreamD1Ev", "_ZN10FileStream4OpenERK6Stringi", "_ZN10FileStream5CloseEv",
        "_ZN10FileStream5WriteEPKc"}},
      {"GAColor", {"_ZN7GAColorC1ERKS_", "_ZN7GAColoraSERKS_", "_ZN7GAColor3SetEhhhh"}},
      {"the bitmaps",
       {"_ZN11HTreeObject12DeleteHandleEv", "_ZN10HByteBlock12DeleteHandleEv",
        "_ZN10HByteBlockD1Ev", "_ZN13HBitmapBufferC1ERK6StringNS_11ChannelTypeEiii",
        "_ZN13HBitmapBufferD1Ev", "_ZN13HBitmapBuffer12AllocateDataEi",
        "_ZN11HRGBABuffer7GetDataEi",
        "_ZN11HBitmapNode16CreateRGBABufferE6StringN13HBitmapBuffer11ChannelTypeEii",
        "_ZN11HBitmapNode9AddBufferEP13HBitmapBuffer", "_ZNK11HBitmapNode10FindBufferERK6String",
        "_ZN11HBitmapNode13RemoveBuffersERK6String", "_ZNK11HBitmapNode4CopyEv",
        "_ZN11HBitmapNode4CopyERKS_", "_ZN11HBitmapNode11ScaleBitmapEii",
        "_ZN11HBitmapNode15CreateByteBlockEiPii", "_ZN11HBitmapNodeD1Ev"}},
      {"the registry", {"_Z16GetRegistryValueRK6StringS1_i", "_Z16SetRegistryValueRK6StringS1_i"}},
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
    const char* first = nullptr;
    std::string supplier;
    for (const char* symbol : kind.symbols) {
      const std::string other = supplierOf(symbol);
      if (other.empty()) continue;
      if (!first) {
        first = symbol;
        supplier = other;
      } else if (other != supplier) {
        lines.push_back(
            fmt::format("{} is replaced in part: {} is of {}, and {} of {}; define all of it, or "
                        "give what is not meant for it another name or a namespace",
                        kind.name, Readable(first), supplier, Readable(symbol), other));
        break;
      }
    }
  }
  return lines;
}

}  // namespace hostkit
