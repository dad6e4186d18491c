// ktprefs's commands. Each returns the exit status; on failure it has printed
// one line to standard error.
#ifndef KTBASE_EXAMPLES_KTPREFS_COMMANDS_H
#define KTBASE_EXAMPLES_KTPREFS_COMMANDS_H

#include "options.h"
#include "store.h"

namespace ktprefs {

constexpr int kExitNotFound = 1;  // also: a file cannot be written
constexpr int kExitUsage = 2;

// Prints "ktprefs: message" to standard error and returns `status`.
int Fail(int status, const std::string& message);

int RunList(const Options& options, const Files& files);
int RunGet(const Options& options, const Files& files);
int RunSet(const Options& options, const Files& files);
int RunRemove(const Options& options, const Files& files);

}  // namespace ktprefs

#endif  // KTBASE_EXAMPLES_KTPREFS_COMMANDS_H
