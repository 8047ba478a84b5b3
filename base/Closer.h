#pragma once

namespace tarn::base
{

/// The deleter of a unique_ptr that owns a handle of a C library: calls that library's own `Close`.
template <auto Close>
struct Closer
{
  template <class Handle>
  void operator()(Handle* handle) const noexcept
  {
    Close(handle);
  }
};

} // namespace tarn::base
