#pragma once

#include <clocale>

namespace tarn::base
{

/// Makes this thread read and write numbers as the "C" locale does (a point, no grouping) for as long as the object
/// lives, whatever locale the process chose.
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

} // namespace tarn::base
