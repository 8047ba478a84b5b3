#pragma once

namespace tarn::utils
{

/// A destination of messages.
class Logger
{
public:
  virtual ~Logger() = default;

  /// Writes one message, formatted as printf formats it.
  virtual void logV(const char* format, ...) __attribute__((format(printf, 2, 3))) = 0;
  /// Writes one fixed message, which is used as a format without arguments: a text with '%' belongs to logV.
  virtual void log0(const char* message) __attribute__((format(printf, 2, 0))) = 0;
};

} // namespace tarn::utils
