#pragma once

#include <gtest/gtest.h>

#include <string>

/// Names each case of a table after its row's member `name`, which has letters, digits and underscores only:
/// INSTANTIATE_TEST_SUITE_P(Each, Suite, testing::ValuesIn(kRows), nameOf<Row>).
template <class Row>
std::string nameOf(const testing::TestParamInfo<Row>& info)
{
  return info.param.name;
}
