// The cost of single steps of large amounts of work: names, addresses, nodes, log lines,
// hand-overs.

#include <benchmark/benchmark.h>
#include <fcntl.h>

#include <QCoreApplication>
#include <QTimer>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "DeepWalk.h"
#include "FatCheck.h"
#include "PerfPorts.h"
#include "PosixVolume.h"
#include "TRFile.h"
#include "Url.h"

namespace {

using namespace fillstation;

constexpr const char* kPath = "/home/someone/Audio/My Album (2nd edition)/014 Chapter twelve.mp3";

// A folder for the files of one benchmark.
class Folder {
 public:
  Folder() : path_(std::filesystem::temp_directory_path() / "fillstation-parts-XXXXXX") {
    if (::mkdtemp(path_.data()) == nullptr) {
      std::perror(path_.c_str());
      std::exit(1);
    }
  }
  ~Folder() { std::filesystem::remove_all(path_); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  const std::string& path() const { return path_; }
  std::string at(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

void addressOfAPath(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(Url::fromPath(kPath, false));
  }
}
BENCHMARK(addressOfAPath);

void pathOfAnAddress(benchmark::State& state) {
  const Url url = Url::fromPath(kPath, false);
  for (auto _ : state) {
    benchmark::DoNotOptimize(url.path());
  }
}
BENCHMARK(pathOfAnAddress);

void fileTypeOfAPath(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(matchesFileType(kPath, "mp3"));
  }
}
BENCHMARK(fileTypeOfAPath);

void sortKeyOfAName(benchmark::State& state) {
  const std::string name = state.range(0) == 0 ? "014 Chapter twelve.mp3" : "014 Über Grün.mp3";
  std::string key;
  for (auto _ : state) {
    key.clear();
    appendSortKey(name, key);
    benchmark::DoNotOptimize(key);
  }
}
BENCHMARK(sortKeyOfAName)->Arg(0)->Arg(1);

void fieldsOfANode(benchmark::State& state) {
  const auto node = TRFile().CreateTRFileAsFolder(Url::fromPath(kPath, true), Url::withString("a"));
  for (auto _ : state) {
    benchmark::DoNotOptimize(node->url());
    benchmark::DoNotOptimize(node->destRelativeUrl());
  }
}
BENCHMARK(fieldsOfANode);

// Of a thousand files, with names that FAT takes.
void refusalsByFat(benchmark::State& state) {
  const auto root = std::make_shared<TRFile>();
  const auto files = std::make_shared<TRFileList>();
  for (int index = 0; index < 1000; ++index) {
    files->push_back(std::make_shared<TRFile>());
    files->back()->setDestRelativeUrl(Url::withString(std::to_string(index) + "%20Chapter.mp3"));
  }
  root->setIsDir(true);
  root->setFiles(files);
  for (auto _ : state) {
    benchmark::DoNotOptimize(refusedByFat({root}, [] { return false; }));
  }
}
BENCHMARK(refusalsByFat)->Unit(benchmark::kMillisecond);

// Each of the folder's entries, in nanoseconds.
void walkOfAFolder(benchmark::State& state) {
  const Folder folder;
  const auto count = state.range(0);
  for (std::int64_t index = 0; index < count; ++index) {
    std::ofstream(folder.at(std::to_string(index) + " Chapter.mp3"));
  }
  for (auto _ : state) {
    DeepWalk walk(folder.path(), [](const auto& /*path*/) { return true; });
    while (walk.next()) {
    }
  }
  state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(walkOfAFolder)->Arg(20)->Arg(1000);

void copyOfAFile(benchmark::State& state) {
  const Folder folder;
  std::ofstream(folder.at("source.mp3"))
      << std::string(static_cast<std::size_t>(state.range(0)), 'a');
  const std::string target = folder.at("target.mp3");
  const StopSource stop;
  PosixVolume volume(openLongPath(folder.path(), O_RDONLY | O_DIRECTORY), folder.path(),
                     std::make_shared<VolumeMedium>(), stop);
  for (auto _ : state) {
    volume.copyItem(folder.at("source.mp3"), target);
    state.PauseTiming();
    std::filesystem::remove(target);
    state.ResumeTiming();
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(copyOfAFile)->Arg(16 << 10)->Arg(5 << 20)->UseRealTime();

void lineOfTheLog(benchmark::State& state) {
  std::FILE* const file = std::tmpfile();
  StreamLog log(file);
  const std::string line = std::string("Copy ") + kPath + "\n";
  for (auto _ : state) {
    log.write(line);
  }
  std::fclose(file);
}
BENCHMARK(lineOfTheLog);

void handOverToTheMainThread(benchmark::State& state) {
  StopSource stop;
  QtMainThread mainThread(stop);
  std::thread worker([&] {
    for (auto _ : state) {
      mainThread.runAndWait([] {});
    }
    mainThread.post([] { QCoreApplication::quit(); });
  });
  QCoreApplication::exec();
  worker.join();
}
BENCHMARK(handOverToTheMainThread)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  const QCoreApplication application(argc, argv);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 1;
  }
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
