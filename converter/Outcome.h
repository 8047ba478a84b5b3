#pragma once

namespace impsconverter
{

/// What a conversion came to. Everything but `done` and `nothingToDo` is refused, when it ends before the figures of
/// the plug-in state are read, or failed.
enum class Outcome
{
  done,        ///< every figure was read, and what it made was given out
  nothingToDo, ///< the object has no plug-in state
  notLoaded,   ///< refused: the input cannot be loaded
  refused,     ///< refused: the object is not of the viewer, or lacks what a conversion needs
  cacheFailed, ///< failed: the study's object table could not be made sure of
  failed       ///< an error in the figures or with an output; what was given out before stays
};

/// The result of an operation that can only say yes or no. An input that cannot be loaded and an object table that
/// cannot be made sure of count as success, which callers rely on.
constexpr bool countsAsSuccess(Outcome outcome)
{
  return outcome == Outcome::done || outcome == Outcome::notLoaded || outcome == Outcome::cacheFailed;
}

} // namespace impsconverter
