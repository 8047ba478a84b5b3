#pragma once

#include "base/Closer.h"

#include <memory>
#include <string>

#include <dlfcn.h>

namespace tarn::repository
{

/// The repository handler library, REPOSITORYHANDLER_HOME/lib/RepositoryHandler.so, loaded for as long as it lives.
class HandlerLibrary
{
public:
  /// What is wrong is told by error(). `keepMapped`: addresses from symbol() stay good for the life of the process.
  explicit HandlerLibrary(bool keepMapped);

  /// Why the library could not be loaded; empty when it was.
  const std::string& error() const { return loadError; }
  const std::string& path() const { return file; }

  /// The address of a symbol, which may be null; `error` gets the reason when it was not found.
  void* symbol(const char* name, std::string& error) const;

private:
  std::string file;
  std::string loadError;
  std::unique_ptr<void, base::Closer<dlclose>> handle;
};

/// Writes a list of the host's processes to /tmp/error_ps.PID.txt, for whoever looks into a failing load.
void dumpPS();

} // namespace tarn::repository
