#include "ports.h"

void mixer::mix() {
  level.write(gain.read() * 2 + bias.read());
  count.write(enable[0].read() + enable[1].read() + enable[2].read());
}
