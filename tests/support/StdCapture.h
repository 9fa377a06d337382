#pragma once

#include <unistd.h>

#include <cstdio>
#include <string>

namespace fillstation::test {

// Captures one of the standard streams from construction until text(), which restores the stream.
class StdCapture {
 public:
  explicit StdCapture(std::FILE* stream) : stream_(stream), file_(std::tmpfile()) {
    std::fflush(stream_);
    saved_ = ::dup(::fileno(stream_));
    ::dup2(::fileno(file_), ::fileno(stream_));
  }
  ~StdCapture() { text(); }
  StdCapture(const StdCapture&) = delete;
  StdCapture& operator=(const StdCapture&) = delete;

  std::string text() {
    if (saved_ >= 0) {
      std::fflush(stream_);
      ::dup2(saved_, ::fileno(stream_));
      ::close(saved_);
      saved_ = -1;
      std::rewind(file_);
      for (int byte = std::fgetc(file_); byte != EOF; byte = std::fgetc(file_)) {
        text_ += static_cast<char>(byte);
      }
      std::fclose(file_);
    }
    return text_;
  }

 private:
  std::FILE* stream_;
  std::FILE* file_;
  int saved_ = -1;
  std::string text_;
};

}  // namespace fillstation::test
