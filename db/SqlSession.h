#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace tarn::db
{

class SqlStatement;

/// A lock between processes; null where it is not held. It is given back with its last owner, and no later than when
/// the process ends.
using GlobalLock = std::shared_ptr<void>;

/// One open connection of a backend. SQL is written in the dialect of MySQL, and a backend translates what it spells in
/// another way. Operations throw DBException with the library's own text.
class SqlSession
{
public:
  virtual std::unique_ptr<SqlStatement> prepare(const std::string& sql) = 0;
  /// Runs one statement without parameters and results.
  virtual void execute(const std::string& sql) = 0;
  /// Starts a transaction that writes.
  virtual void begin() = 0;
  /// Returns when every change that has been committed survives a power cut. Before that a power cut may take the last
  /// commits back, never one without those after it. A server decides this for itself.
  virtual void sync() = 0;
  /// Asks whether the database answers, and with `forWriting` whether its disk takes a change. Throws where it does
  /// not.
  virtual void requireUsable(bool forWriting) = 0;
  /// Tries once, without waiting, to get the lock `name`. Returns null while somebody else holds it.
  virtual GlobalLock tryLock(const std::string& name) = 0;
  /// Whether the database ends with this connection.
  virtual bool isInMemory() const = 0;
  /// Returns the statements that make the tables, each ended by a semicolon.
  virtual std::string_view schema() const = 0;
  /// Returns what others could do with the connection, for the log; empty where it is safe.
  virtual std::string exposure() const { return {}; }

  virtual ~SqlSession() = default;
};

} // namespace tarn::db
