#pragma once

#include <memory>
#include <string>

#include <dlfcn.h>

#include "base/Closer.h"

namespace tarn::repository
{

/// The repository handler library, REPOSITORYHANDLER_HOME/lib/RepositoryHandler.so, loaded for as long as it lives.
class HandlerLibrary
{
public:
  /// How long the library stays mapped, and the addresses from symbol() with it.
  enum class Mapping
  {
    whileLoaded, ///< until the object that loaded it ends
    permanent    ///< for the life of the process
  };

  /// Loads the library; error() tells whether that succeeded.
  explicit HandlerLibrary(Mapping mapping);

  /// Why the library could not be loaded; empty when it was.
  const std::string& error() const { return loadError; }
  const std::string& path() const { return file; }

  /// The address of a symbol, which may be null. `error` gets the reason when the symbol is not found, else nothing.
  void* symbol(const char* name, std::string& error) const;

private:
  std::string file;
  std::string loadError;
  std::unique_ptr<void, base::Closer<dlclose>> handle;
};

} // namespace tarn::repository
