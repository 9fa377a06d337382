#include <cstdio>

int main() {
  std::puts("The real back end is not built in yet; try ./demo --window.");
  return 0;
}
