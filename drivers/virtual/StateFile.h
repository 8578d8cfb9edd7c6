// Writing a kept memory's file whole: to a new file beside it, renamed into
// place only once complete, so that a failure or a kill never leaves half an
// image where the old one was.
#pragma once

#include <functional>
#include <ostream>
#include <string>

namespace brevant::virt {

// `fill` writes the contents. False if they could not all be written or the
// file not renamed; the old file, if any, is then as it was.
bool ReplaceFile(const std::string& path, const std::function<void(std::ostream&)>& fill);

}  // namespace brevant::virt
