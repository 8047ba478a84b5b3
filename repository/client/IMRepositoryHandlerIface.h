#pragma once

#include <mutex>
#include <string>

#include "base/IMException.h"
#include "repository/client/HandlerLibrary.h"
#include "repository/client/RepositoryOperations.h"

namespace tarn::repository
{

/// Loads the library, calls it and unloads it, each time: nothing is held between calls.
struct LoadEachTime
{
  template <class Result, class... Parameters, class Trace, class... Arguments>
  static Result call(const EntryPoint<Result(Parameters...)>& entry, const Trace& trace, Arguments&&... arguments)
  {
    trace(true);
    try
    {
      const HandlerLibrary library(HandlerLibrary::Mapping::whileLoaded);
      using Function = Result(Parameters...);
      if (auto* const function = reinterpret_cast<Function*>(lookUp(library, entry.symbol))) // NOLINT: see getFunction
        return function(std::forward<Arguments>(arguments)...);
    }
    catch (const imutils::IMException& failure)
    {
      logFailure(failure);
    }
    return failureValue<Result>();
  }

private:
  /// Throws imutils::IMException where the library is not loaded or the symbol is not found.
  static void* lookUp(const HandlerLibrary& library, const char* symbol);
  static void logFailure(const imutils::IMException& failure);
};

/// Resolves an entry point at its first use and calls it from then on. Safe for concurrent first use.
struct CallResolved
{
  template <class Result, class... Parameters, class Trace, class... Arguments>
  static Result call(EntryPoint<Result(Parameters...)>& entry, const Trace& trace, Arguments&&... arguments)
  {
    if (!entry.resolved)
    {
      const std::lock_guard<std::mutex> guard(mutex);
      // cppcheck-suppress identicalInnerCondition ; another thread may have been first
      if (!entry.resolved)
        entry.resolved = reinterpret_cast<Result (*)(Parameters...)>(resolve(entry.symbol)); // NOLINT: see getFunction
    }
    auto* const function = entry.resolved.load();
    trace(function != nullptr);
    return function ? function(std::forward<Arguments>(arguments)...) : failureValue<Result>();
  }

  /// The address of an entry point, null (logged) when it cannot be had. The library stays mapped.
  static void* resolve(const char* symbol);

  static std::mutex mutex;
};

/// The class form: its static operations keep the entry points that they have resolved for the life of the process.
class IMRepositoryHandlerIface : public RepositoryOperations<CallResolved>
{
public:
  /// Resolves all entry points at once; those that the library lacks stay unresolved. Does nothing once it has loaded
  /// the library.
  static void init();

  /// The address of an entry point, as CallResolved::resolve() gives it.
  template <class FunctionPointer>
  static FunctionPointer getFunction(const char* symbol)
  {
    void* const address = CallResolved::resolve(symbol);
    return reinterpret_cast<FunctionPointer>(address); // NOLINT: how the address of a function comes from a library
  }

private:
  static bool bLoaded;
};

// The plain functions.
using PlainOperations = RepositoryOperations<LoadEachTime>;
inline constexpr auto& createDirectory = PlainOperations::createDirectory;
inline constexpr auto& createLocation = PlainOperations::createLocation;
inline constexpr auto& getLocations = PlainOperations::getLocations;
inline constexpr auto& getLocation = PlainOperations::getLocation;
inline constexpr auto& getRepositoryStatus = PlainOperations::getRepositoryStatus;
inline constexpr auto& checkResourceStatus = PlainOperations::checkResourceStatus;
inline constexpr auto& removeResource = PlainOperations::removeResource;
inline constexpr auto& listFiles = PlainOperations::listFiles;
inline constexpr auto& listDirs = PlainOperations::listDirs;
inline constexpr auto& checkOverload = PlainOperations::checkOverload;
inline constexpr auto& freeMount = PlainOperations::freeMount;
inline constexpr auto& getMountPathForDirectory = PlainOperations::getMountPathForDirectory;
inline constexpr auto& getMountFromPath = PlainOperations::getMountFromPath;
inline constexpr auto& unAge = PlainOperations::unAge;
inline constexpr auto& getTimeProperties = PlainOperations::getTimeProperties;
inline constexpr auto& setTimeProperties = PlainOperations::setTimeProperties;
inline constexpr auto& lockResource = PlainOperations::lockResource;
inline constexpr auto& unlockResource = PlainOperations::unlockResource;
inline constexpr auto& isDirty = PlainOperations::isDirty;
inline constexpr auto& setDirty = PlainOperations::setDirty;

} // namespace tarn::repository
