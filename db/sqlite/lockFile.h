#pragma once

#include <memory>
#include <string>

namespace tarn::db
{

/// Tries once, without waiting, to lock the byte of `DATABASE-lock` that stands for `name`. The file is made where it
/// is missing, with the owner, group and mode of the file `database`, so that whoever may write that can hold a lock,
/// and stays. One that is there keeps its rights, and is none unless it is a regular, empty file of one name: others
/// may have put it there. The lock ends with what is returned and with the process; it belongs to its own open file
/// description: two connections of one process exclude each other. Returns null while somebody else holds it. Throws
/// DBException when the file cannot be made or locked, or is no lock file.
std::shared_ptr<void> tryLockBeside(const std::string& database, const std::string& name);

} // namespace tarn::db
