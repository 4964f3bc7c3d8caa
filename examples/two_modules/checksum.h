#ifndef CHECKSUM_H
#define CHECKSUM_H

/// True when \p value has an odd number of one bits.
bool odd_parity(unsigned value);

#endif
