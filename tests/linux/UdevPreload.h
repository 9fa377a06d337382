#pragma once

namespace fillstation::test {

// Begins the program anew with umockdev's library before all others, which is how that one works;
// returns in the program that has it. First thing in main(), or whatever is to be done without it
// comes before.
void preloadMockUdev(char** argv);

}  // namespace fillstation::test
