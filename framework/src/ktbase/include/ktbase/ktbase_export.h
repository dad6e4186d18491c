/// @file
/// The one export macro of libktbase.so.
/// @ingroup system
#ifndef KTBASE_KTBASE_EXPORT_H
#define KTBASE_KTBASE_EXPORT_H

#if defined(__GNUC__)
/// Marks what callers may name. The library is built with hidden
/// visibility; put the macro on whole classes, so that constructors,
/// destructors, vtables and type information (needed for cross-module
/// `dynamic_cast`) are exported together.
/// @ingroup system
#define KTBASE_API __attribute__((visibility("default")))
#else
#define KTBASE_API
#endif

#endif  // KTBASE_KTBASE_EXPORT_H
