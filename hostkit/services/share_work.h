// Work that several threads share.
#pragma once

#include <cstddef>
#include <functional>

namespace hostkit {

/// Calls `work` once for each number below `count`, each thread taking the next one that is left.
/// There are as many threads as processors, but at most `most`; one of them is the caller's, and
/// where the system has no others it does all. `work` must not throw.
void ShareWork(std::size_t count, std::size_t most,
               const std::function<void(std::size_t number)>& work);

/// The same for ranges [begin, end) that cover the numbers below `count`; up to `each` of them are
/// worked on by the caller alone.
void ShareRanges(std::size_t count, std::size_t each,
                 const std::function<void(std::size_t begin, std::size_t end)>& work);

}  // namespace hostkit
