#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>

/// The start of a row in a table of cases: googletest prints the row by its name, and nameOf names the case after it.
/// Names have letters, digits and underscores only.
struct Named
{
  const char* name;

  friend std::ostream& operator<<(std::ostream& out, const Named& row) { return out << row.name; }
};

template <class Row>
std::string nameOf(const testing::TestParamInfo<Row>& info)
{
  return info.param.name;
}
