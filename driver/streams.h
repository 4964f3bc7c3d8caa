#ifndef CORVANE_DRIVER_STREAMS_H
#define CORVANE_DRIVER_STREAMS_H

/// \file
/// Stdio streams that read and write compressed files transparently.  A name
/// ending in ".gz", ".bz2", ".xz" or ".Z" goes through the matching
/// compressor over a shell pipe; any other name is a plain file.  Streams
/// opened here must be closed with close_stream(), which knows which of them
/// are pipes.

#include <cstdio>

/// Opens \p name with the stdio \p mode.  Writing ("w" modes) to a
/// compressed name pipes through the compressor; reading a compressed name
/// pipes through its decompressor, and reading a name that does not exist
/// tries name.gz, name.bz2, name.xz and name.Z in that order.
/// Returns null on failure; the caller reports it.
FILE *open_stream(const char *name, const char *mode);

/// Closes a stream from open_stream(): pclose() for pipes, fclose()
/// otherwise (also for streams this layer never saw).
int close_stream(FILE *stream);

/// True when the text from the last "." of \p name is a compressor extension.
bool is_compressed_name(const char *name);

#endif
