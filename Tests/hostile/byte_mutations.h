#pragma once

#include "Tests/hostile/random.h"

#include <string>

/// What happens to a file on a failing disk or in a careless hand: bits, bytes and pieces, with no regard for
/// what they mean.
void MutateBytes(std::string& text, Random& random);

/// Writes the text, which is UTF-8 or anything else, in another encoding, in one that it does not declare, or
/// with a byte-order mark that does not fit.
void MutateEncoding(std::string& text, Random& random);
