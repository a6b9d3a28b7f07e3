// The block on standard output that reports what could not be loaded.
#pragma once

/// Prints the block of four lines: a rule, the name of the library or symbol, the reason, a rule. Null is printed as
/// "(null)". The output is flushed, so that the block is complete even if the process ends next.
void printLoadingFailure(const char* name, const char* reason);
