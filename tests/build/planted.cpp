#include <cstdlib>
#include <limits>
#include <string>
#include <thread>

// A program with the fault that its argument names, which the sanitizers of the build have to find.
namespace {

void* volatile kept = nullptr;
int shared = 0;

void leak() {
  kept = std::malloc(100);
  kept = nullptr;
}

void overrun() {
  auto* const bytes = static_cast<volatile char*>(std::malloc(10));
  bytes[10] = 'x';
}

void overflow(int start) {
  volatile int number = std::numeric_limits<int>::max() - start;
  number = number + start + 1;
}

void race() {
  std::thread other([] { ++shared; });
  ++shared;
  other.join();
}

}  // namespace

int main(int argc, char** argv) {
  const std::string fault = argv[1];
  if (fault == "leak") {
    leak();
  } else if (fault == "overrun") {
    overrun();
  } else if (fault == "overflow") {
    overflow(argc);
  } else if (fault == "race") {
    race();
  }
}
