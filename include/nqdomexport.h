/// \file
/// The export marker of the library's public API.
#ifndef NQDOMEXPORT_H
#define NQDOMEXPORT_H

/// Marks a class or function as exported from the shared library; everything
/// else is hidden.
#define NQDOM_API __attribute__((visibility("default")))

#endif
