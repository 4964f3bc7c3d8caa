#ifndef QUILLC_DRIVER_QUILLC_H
#define QUILLC_DRIVER_QUILLC_H

/// One whole quillc run: log, banner, arguments, export sources, wrapper
/// generator, co-simulation library.  Returns the process exit status.
int quillc_main(int argc, char **argv);

#endif
