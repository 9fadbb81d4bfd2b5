#pragma once

#include "Tests/hostile/random.h"

#include <string>

/// What keeps a file well-formed, mostly: elements that are missing, there twice or in another order, names
/// and values that nobody expects, huge ones, deep ones.
void MutateElements(std::string& text, Random& random);
