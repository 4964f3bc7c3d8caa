#include "kit/src/port_type_family.h"

void corvane_sc::add_uint_port_types(PortTypeTable &table) { table.add_widths<sc_dt::sc_uint>(); }
