#pragma once

#include <clocale>

namespace tarn::imutils
{

/// While it lives, this thread reads and writes numbers as the "C" locale does (a point, no grouping), whatever locale
/// its process chose.
class CLocale
{
public:
  CLocale() : previous(uselocale(cLocale())) {}
  ~CLocale() { uselocale(previous); }
  CLocale(const CLocale&) = delete;
  CLocale& operator=(const CLocale&) = delete;

private:
  static locale_t cLocale()
  {
    static const locale_t instance = newlocale(LC_ALL_MASK, "C", nullptr);
    return instance;
  }

  locale_t previous;
};

} // namespace tarn::imutils
