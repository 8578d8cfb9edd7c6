// A shared library opened at run time: the vendor's driver, the dialogs' view.
// The platform's loader (LoadLibrary on Windows, the dynamic linker elsewhere)
// stays behind this class.
#pragma once

#include <string>

namespace brevant {

class SharedLibrary {
 public:
  // Opens `path` (a file name the loader searches for, or a path). Whether it
  // worked is Loaded(); what went wrong, Problem().
  explicit SharedLibrary(const std::string& path);
  ~SharedLibrary();
  SharedLibrary(const SharedLibrary&) = delete;
  SharedLibrary& operator=(const SharedLibrary&) = delete;

  bool Loaded() const { return handle_ != nullptr; }
  const std::string& Problem() const { return problem_; }

  // The address of an exported function or object, or nullptr.
  void* Symbol(const char* name) const;

  // The file of the library (or program) whose code holds `address`; empty
  // when the loader cannot tell.
  static std::string FileHolding(const void* address);

 private:
  void* handle_;
  std::string problem_;
};

}  // namespace brevant
