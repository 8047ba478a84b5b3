#pragma once

#include <functional>
#include <memory>
#include <string>

namespace tarn::db
{

class QueryBindings;

/// The text of a statement that is prepared when it is first used, and the number of its parameters and of the
/// columns of its result.
class PsQuery
{
public:
  using Text = std::function<std::string()>;

  /// `makeText` is called when a PSCache prepares the statement. What it throws passes through.
  PsQuery(Text makeText, int params, int results);

  std::string text() const { return makeText(); }
  int paramCount() const { return params; }
  int resultCount() const { return results; }
  /// New bindings of the query's size.
  std::unique_ptr<QueryBindings> mkBindings() const;

private:
  Text makeText;
  int params;
  int results;
};

} // namespace tarn::db
