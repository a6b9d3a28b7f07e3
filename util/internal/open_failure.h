// Why a file could not be opened.
#pragma once

#include <cerrno>

/// Whether `errno` says that the process ran out of descriptors or memory. The file may then exist all the same.
inline bool ranOutOfResources() { return errno == EMFILE || errno == ENFILE || errno == ENOMEM; }
