#pragma once

#include <optional>
#include <string>

#include <sys/types.h>

namespace tarn::repository
{

// File operations as the library does them everywhere: they throw a Refusal when they fail.

/// Refuses with kFailed when `result`, that of a system call, is not 0.
void requireDone(int result);

/// Refuses with kMountUnreachable unless `mount` is a directory.
void requireMount(const std::string& mount);

/// Returns the mode, as of stat(2), of what stands under `path`; nothing where nothing does. Links are not followed:
/// one under a resource's name would lead out of the repository.
std::optional<mode_t> modeOf(const std::string& path);

/// Makes an empty file unless there is one.
void touchFile(const std::string& path);

} // namespace tarn::repository
