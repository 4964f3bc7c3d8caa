#include "checksum.h"

// Plain C++, no module: quillc links this source as it is.
bool odd_parity(unsigned value) {
  bool odd = false;
  for (; value; value &= value - 1)
    odd = !odd;
  return odd;
}
