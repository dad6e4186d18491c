// The one export macro of libktbase.so.
//
// The library is built with hidden visibility; everything callers may name is
// marked KTBASE_API. Put it on whole classes, so that constructors,
// destructors, vtables and type information (needed for cross-module
// dynamic_cast) are exported together.
#ifndef KTBASE_KTBASE_EXPORT_H
#define KTBASE_KTBASE_EXPORT_H

#if defined(__GNUC__)
#define KTBASE_API __attribute__((visibility("default")))
#else
#define KTBASE_API
#endif

#endif  // KTBASE_KTBASE_EXPORT_H
