#ifndef NQDOMEXPORT_H
#define NQDOMEXPORT_H

#define NQDOM_API __attribute__((visibility("default")))

#endif
