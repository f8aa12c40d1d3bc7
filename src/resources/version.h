/* The product's version, in one place: the DLL's version resource and its
   message 99 (tslpr32i.rc, messages.def), the hosts' --version and the
   installer (CMakeLists.txt reads these lines) all take it from here. */
#ifndef TSL_VERSION_H
#define TSL_VERSION_H
#define TSL_VERSION_MAJOR 1
#define TSL_VERSION_MINOR 3
#define TSL_VERSION_PATCH 1
#define TSL_VERSION_TEXT "1.3a"
#endif
