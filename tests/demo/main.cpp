#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QPalette>
#include <QProcess>
#include <QStyle>
#include <QTimer>
#include <cstdio>
#include <optional>
#include <variant>

#include "Act.h"
#include "AppRunner.h"
#include "Bench.h"
#include "BenchFolder.h"
#include "DarkColours.h"
#include "WindowSet.h"

namespace {

using namespace fillstation;
using namespace fillstation::demo;

struct Options {
  bool visible = false;
  bool byHand = false;
  bool dark = false;
  QSize size;        // of the window, in pixels
  QString sources;   // this program's own folder: scenarios and the audio book's maker
  QString pictures;  // where the screenshots go
  QString audio;     // where the audio book is
  QString bench;     // the bench folder, created again
};

// The size in a text such as 720x480; invalid if it is none.
QSize sizeOf(const QString& text) {
  const QStringList sides = text.split('x');
  return sides.size() == 2 ? QSize(sides[0].toInt(), sides[1].toInt()) : QSize();
}

// Null after reporting a problem with the arguments.
std::optional<Options> readArguments(const QStringList& arguments) {
  QCommandLineParser parser;
  parser.addOptions(
      {{"window", {}}, {"by-hand", {}}, {"dark", {}}, {"size", {}, "WIDTHxHEIGHT", "1000x620"}});
  const QDir here = QDir::current();
  QString problem = parser.parse(arguments) ? QString() : parser.errorText();
  const Options options{parser.isSet("window"),
                        parser.isSet("by-hand"),
                        parser.isSet("dark"),
                        sizeOf(parser.value("size")),
                        FILLSTATION_DEMO_SOURCES,
                        here.absoluteFilePath("demo-out"),
                        here.absoluteFilePath("build/demo/Audio Book"),
                        here.absoluteFilePath("build/demo/bench")};
  if (problem.isEmpty() && !parser.positionalArguments().isEmpty()) {
    problem = "Unknown argument '" + parser.positionalArguments().first() + "'.";
  } else if (problem.isEmpty() && options.size.isEmpty()) {
    problem = "--size needs a width and a height, such as 720x480.";
  } else if (problem.isEmpty() && options.byHand && !options.visible) {
    problem = "--by-hand goes with --window.";
  }
  if (!problem.isEmpty()) {
    std::fprintf(stderr, "fillstation-demo: %s\n", qUtf8Printable(problem));
    return std::nullopt;
  }
  return options;
}

void useDarkColours() {
  QPalette colours = darkColours();
  QApplication::style()->polish(colours);
  QApplication::setPalette(colours);
}

bool makeAudioBook(const Options& options) {
  const int status = QProcess::execute(options.sources + "/make-audio-book", {options.audio});
  if (status != 0) {
    std::fputs("fillstation-demo: the audio book can't be made\n", stderr);
  }
  return status == 0;
}

Scenario scenarioOf(const Options& options, const char* name) {
  const auto read = readScenario((options.sources + "/" + name).toStdString());
  if (const auto* problem = std::get_if<std::string>(&read)) {
    throw NotSeen(*problem);
  }
  return std::get<Scenario>(read);
}

bool performActs(const Options& options, const QString& folder, WindowSet& windows) {
  const ActPlan four{"Act 1: four players",
                     folder,
                     options.audio,
                     options.pictures + "/act1",
                     scenarioOf(options, "four-players.json"),
                     {},
                     true,
                     options.visible};
  const ActPlan five{
      "Act 2: five players, one pulled out while it is filled, one that refuses its format",
      folder,
      options.audio,
      options.pictures + "/act2",
      scenarioOf(options, "five-players.json"),
      {"pulled", "stubborn"},
      false,
      options.visible};
  const bool both = perform(four, windows) && perform(five, windows);
  std::fprintf(console(), "\n%s. The screenshots are in %s.\n",
               both ? "Everything went as planned" : "SOMETHING WENT DIFFERENTLY",
               qUtf8Printable(options.pictures));
  return both;
}

void handOver(const Options& options, const QString& folder) {
  const Scenario scenario = scenarioOf(options, "four-players.json");
  for (const auto& player : scenario) {
    const auto problem = createPlayer(folder.toStdString(), player);
    if (problem || !plugPlayer(folder.toStdString(), player.name)) {
      throw NotSeen("a player that can't be plugged in: " + problem.value_or(player.name));
    }
  }
  std::fprintf(
      console(),
      "The window is yours. An audio book to add:\n  %s\n"
      "The administrator is \"bench\", the password \"bench\".\n"
      "Plug and unplug players by moving images between\n  %s\nand its folder \"pulled\".\n"
      "Close the window when you are done; the players are thrown away at the next start.\n",
      qUtf8Printable(options.audio), qUtf8Printable(folder));
  std::fflush(console());
}

// Gives the window to the person or does the acts; ends the program when that is over or can't be.
void begin(const Options& options, const QString& folder, WindowSet& windows) {
  try {
    if (options.byHand) {
      handOver(options, folder);
    } else {
      QApplication::exit(performActs(options, folder, windows) ? 0 : 1);
    }
  } catch (const NotSeen& problem) {
    std::fprintf(console(), "\nThe demonstration stops: %s\n", problem.what());
    QApplication::exit(1);
  }
}

BackEnd benchIn(const QString& folder, const Options& options) {
  BackEnd backEnd;
  backEnd.install = [folder](Platform& ports, StopSource& stop, QtMainThread& mainThread) {
    const BenchServices services{stop, mainThread, *ports.clock, *ports.workers, *ports.systemLog};
    auto bench = std::make_shared<Bench>(folder.toStdString(), services);
    bench->installInto(ports);
    return bench;
  };
  backEnd.shown = [folder, options](WindowSet& windows) {
    windows.window().resize(options.size);
    if (options.dark) {
      useDarkColours();
    }
    // The players can be plugged in when the program has registered for them.
    auto* const beginning = new QTimer(&windows.window());
    QObject::connect(beginning, &QTimer::timeout, &windows.window(), [=, &windows] {
      if (fileView != nullptr) {
        beginning->stop();
        begin(options, folder, windows);
      }
    });
    beginning->start(50);
  };
  return backEnd;
}

}  // namespace

int main(int argc, char** argv) {
  QStringList arguments;
  for (int index = 0; index < argc; ++index) {
    arguments << QString::fromLocal8Bit(argv[index]);
  }
  const auto options = readArguments(arguments);
  if (!options || !makeAudioBook(*options)) {
    return 2;
  }
  if (!options->visible) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
  }
  useConsole(options->pictures);
  QDir(options->bench).removeRecursively();
  QDir().mkpath(options->bench);
  return runApplication(argc, argv, benchIn(options->bench, *options));
}
