// brevant-wave: a recorded pin trace (VCD) drawn as a PNG picture. `brevant
// wave` runs it; see docs/virtual-bench.md.
//
//   brevant-wave FILE.vcd --png OUT.png [--from TIME] [--to TIME]
//                [--signals CS,SK,DO,DI] [--spi] [--width PIXELS]
//
// Times take a unit: 120us, 1.5ms, 800ns, 2s. Exit status 0 done, 1 a file
// that cannot be read or written, 2 a usage error.
#include <QGuiApplication>
#include <QImage>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <map>
#include <string>

#include "VcdTrace.h"
#include "WavePicture.h"

namespace {

using brevant::wave::PictureOptions;
using brevant::wave::VcdError;

constexpr int kFailed = 1;
constexpr int kUsage = 2;

struct Usage : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// "120us" in seconds.
double Seconds(const std::string& text) {
  static const std::map<std::string, double> kUnits = {
      {"s", 1}, {"ms", 1e-3}, {"us", 1e-6}, {"µs", 1e-6}, {"ns", 1e-9}};
  size_t used = 0;
  double value = 0;
  try {
    value = std::stod(text, &used);
  } catch (const std::exception&) {
    used = 0;
  }
  const auto unit = kUnits.find(text.substr(used));
  if (used == 0 || unit == kUnits.end() || !std::isfinite(value) || value < 0) {
    throw Usage("\"" + text + "\" is no time: give a number and a unit, such as 120us");
  }
  return value * unit->second;
}

std::vector<std::string> List(const std::string& text) {
  std::vector<std::string> items;
  size_t start = 0;
  while (start <= text.size()) {
    const size_t comma = std::min(text.find(',', start), text.size());
    if (comma > start) items.push_back(text.substr(start, comma - start));
    start = comma + 1;
  }
  return items;
}

int Run(int argc, char** argv) {
  std::string vcd, png, from, to;
  PictureOptions options;
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    if (word == "--spi") {
      options.spi = true;
      continue;
    }
    if (word.starts_with("--")) {
      if (i + 1 == argc) throw Usage(word + " needs a value");
      const std::string value = argv[++i];
      if (word == "--png") {
        png = value;
      } else if (word == "--from") {
        from = value;
      } else if (word == "--to") {
        to = value;
      } else if (word == "--signals") {
        options.signals = List(value);
      } else if (word == "--width") {
        options.width = std::atoi(value.c_str());
        if (options.width < 400 || options.width > 20000) throw Usage("--width: 400 to 20000");
      } else {
        throw Usage("unknown option " + word);
      }
    } else if (vcd.empty()) {
      vcd = word;
    } else {
      throw Usage("one trace at a time, not also " + word);
    }
  }
  if (vcd.empty() || png.empty()) throw Usage("a trace and --png OUT.png are needed");

  std::ifstream in(vcd, std::ios::binary);
  if (!in) throw VcdError("cannot read " + vcd);
  brevant::wave::VcdTrace trace;
  try {
    trace = brevant::wave::ReadVcd(in);
  } catch (const VcdError& e) {
    throw VcdError(vcd + ": " + e.what());
  }
  const auto units = [&](const std::string& text) {
    return static_cast<int64_t>(std::llround(Seconds(text) / trace.secondsPerUnit));
  };
  // The whole trace by default, from its first change to its last.
  int64_t first = trace.last;
  for (const auto& signal : trace.signals) {
    if (signal.changes.size() > 1) first = std::min(first, signal.changes[1].at);
  }
  options.from = from.empty() ? first : units(from);
  options.to = to.empty() ? trace.last : units(to);
  if (options.to <= options.from) throw Usage("--to must lie after --from");

  // A picture needs no display; Qt still wants its application for fonts. Its
  // notes about the environment (no XDG_RUNTIME_DIR) are none of the user's.
  setenv("QT_QPA_PLATFORM", "offscreen", 1);
  qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& message) {
    if (type == QtCriticalMsg || type == QtFatalMsg) std::cerr << message.toStdString() << '\n';
  });
  QGuiApplication application(argc, argv);
  const QImage image = brevant::wave::DrawWaves(trace, options);
  if (!image.save(QString::fromStdString(png), "PNG")) throw VcdError("cannot write " + png);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(argc, argv);
  } catch (const Usage& e) {
    std::cerr << "brevant wave: " << e.what()
              << "\nusage: brevant wave FILE.vcd --png OUT.png [--from TIME] [--to TIME] "
                 "[--signals LIST] [--spi] [--width PIXELS]\n";
    return kUsage;
  } catch (const std::exception& e) {
    std::cerr << "brevant wave: " << e.what() << '\n';
    return kFailed;
  }
}
