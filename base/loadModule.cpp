// Modules that are loaded when they are needed.
#include "base/loadModule.h"

#include "base/text.h"

#include <stdexcept>

#include <dlfcn.h>

namespace tarn::base
{

/// The loader knows where this code is ($ORIGIN); a run path would make it look there for every library at every start.
void* loadModule(const std::string& file, const char* entry)
{
  void* module = nullptr;
  for (const char* folder : {"$ORIGIN/annomend/", ANNOMEND_MODULE_FOLDER "/annomend/"})
    if (!module)
      module = dlopen((folder + file).c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  void* const found = module ? dlsym(module, entry) : nullptr;
  if (!found)
    throw std::runtime_error(printable(dlerror()));
  return found;
}

} // namespace tarn::base
