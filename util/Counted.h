#ifndef CORVANE_UTIL_COUNTED_H
#define CORVANE_UTIL_COUNTED_H

/// \file
/// The shared base of the library's reference-counted objects.  An object
/// starts with no users; every holder takes one use with AddRef() and gives
/// it back with Release(), and the last Release() destroys the object
/// through its virtual destructor.  The count is a plain 32-bit integer: the
/// library is single-threaded and the holders (counted references) are
/// cheap to copy.

#include <cstdint>

class Counted {
public:
  Counted() = default;
  /// A copy is a new object: it has no users of its own yet.
  Counted(const Counted &) {}
  /// Assigning contents never hands over the users of either side.
  Counted &operator=(const Counted &) { return *this; }
  virtual ~Counted() = default;

  /// Takes one use.
  void AddRef() const { ++m_UseCount; }

  /// Gives one use back and deletes the object when it was the last.
  /// Every Release() must pair with an earlier AddRef().
  void Release() const {
    if (--m_UseCount == 0)
      delete this;
  }

  /// The number of uses held now.
  uint32_t UseCount() const { return m_UseCount; }

private:
  mutable uint32_t m_UseCount = 0;
};

#endif
