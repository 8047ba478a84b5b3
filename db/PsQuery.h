#pragma once

#include "db/QueryBindings.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace tarn::db
{

/// The text of a statement that is prepared when it is first used, and the number of its parameters and of the
/// columns of its result.
class PsQuery
{
public:
  using Text = std::function<std::string()>;

  /// `makeText` is called when a PSCache prepares the statement. What it throws passes through.
  PsQuery(Text makeText, int params, int results) : makeText(std::move(makeText)), params(params), results(results) {}

  std::string text() const { return makeText(); }
  int paramCount() const { return params; }
  int resultCount() const { return results; }
  /// New bindings of the query's size.
  std::unique_ptr<QueryBindings> mkBindings() const { return std::make_unique<QueryBindings>(params, results); }

private:
  Text makeText;
  int params;
  int results;
};

} // namespace tarn::db
