#include "WavePicture.h"

#include <QFont>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>
#include <cstdio>

namespace brevant::wave {

namespace {

constexpr int kLabelWidth = 130;
constexpr int kRightMargin = 40;
constexpr int kTitleHeight = 30;
constexpr int kRowHeight = 34;
constexpr int kWaveHeight = 20;
constexpr int kAxisHeight = 36;

const QColor kWave(20, 60, 150);
const QColor kGrid(225, 225, 225);
const QColor kBytes(150, 70, 0);
const QColor kBand(238, 242, 250);  // between a row's low and high levels

// One SPI byte: where its first and last bits are taken, and its value.
struct Byte {
  int64_t first;
  int64_t last;
  int value;
};

// A row: a signal, or the bytes decoded from one.
struct Row {
  std::string label;
  const Signal* signal = nullptr;
  std::vector<Byte> bytes;
};

bool Changes(const Signal& signal, int64_t from, int64_t to) {
  return std::any_of(signal.changes.begin(), signal.changes.end(),
                     [&](const Change& change) { return change.at > from && change.at <= to; });
}

const Signal* Find(const VcdTrace& trace, const std::string& scope, const std::string& name) {
  for (const Signal& signal : trace.signals) {
    if (signal.scope == scope && signal.name == name) return &signal;
  }
  return nullptr;
}

// Bytes while CS is low, each bit taken as SK rises, MSB first: SPI modes 0
// and 3, as flashes are clocked.
std::vector<Byte> SpiBytes(const Signal& sk, const Signal& cs, const Signal& data, int64_t from,
                           int64_t to) {
  std::vector<Byte> bytes;
  int bits = 0;
  int value = 0;
  int64_t first = 0;
  char level = 'x';
  for (const Change& change : sk.changes) {
    const bool rising = change.level == '1' && level == '0';
    level = change.level;
    if (change.at < from || change.at > to) continue;
    if (cs.LevelAt(change.at) != '0') {
      bits = 0;
      continue;
    }
    if (!rising) continue;
    if (bits == 0) {
      first = change.at;
      value = 0;
    }
    value = value << 1 | (data.LevelAt(change.at) == '1');
    if (++bits == 8) {
      bytes.push_back({first, change.at, value});
      bits = 0;
    }
  }
  return bytes;
}

// A step of 1, 2 or 5 times a power of ten that gives about eight ticks.
double TickStep(double span) {
  const double rough = span / 8;
  const double power = std::pow(10.0, std::floor(std::log10(rough)));
  for (const double factor : {1.0, 2.0, 5.0}) {
    if (factor * power >= rough) return factor * power;
  }
  return 10 * power;
}

QString TimeText(double seconds, double step) {
  struct Unit {
    double size;
    const char* name;
  };
  static const Unit kUnits[] = {{1, "s"}, {1e-3, "ms"}, {1e-6, "µs"}, {1e-9, "ns"}};
  const Unit* unit = &kUnits[3];
  for (const Unit& candidate : kUnits) {
    if (step >= candidate.size) {
      unit = &candidate;
      break;
    }
  }
  char text[64];
  std::snprintf(text, sizeof text, "%.6g %s", seconds / unit->size, unit->name);
  return QString::fromUtf8(text);
}

std::vector<Row> ChooseRows(const VcdTrace& trace, const PictureOptions& options) {
  std::vector<const Signal*> chosen;
  if (options.signals.empty()) {
    for (const Signal& signal : trace.signals) {
      if (Changes(signal, options.from, options.to)) chosen.push_back(&signal);
    }
  }
  for (const std::string& name : options.signals) {
    const size_t dot = name.find('.');
    bool found = false;
    for (const Signal& signal : trace.signals) {
      const bool match = dot == std::string::npos
                             ? signal.name == name
                             : signal.scope == name.substr(0, dot) && signal.name == name.substr(dot + 1);
      if (match) chosen.push_back(&signal);
      found = found || match;
    }
    if (!found) throw VcdError("no signal " + name + " in the trace");
  }
  if (chosen.empty()) throw VcdError("no signal changes in that time: nothing to draw");
  const bool scoped = std::any_of(chosen.begin(), chosen.end(),
                                  [&](const Signal* s) { return s->scope != chosen[0]->scope; });
  std::vector<Row> rows;
  for (const Signal* signal : chosen) {
    rows.push_back({scoped ? signal->scope + "." + signal->name : signal->name, signal, {}});
    if (!options.spi || (signal->name != "DO" && signal->name != "DI")) continue;
    const Signal* sk = Find(trace, signal->scope, "SK");
    const Signal* cs = Find(trace, signal->scope, "CS");
    if (sk && cs) {
      rows.push_back({signal->name + " bytes", nullptr,
                      SpiBytes(*sk, *cs, *signal, options.from, options.to)});
    }
  }
  return rows;
}

}  // namespace

QImage DrawWaves(const VcdTrace& trace, const PictureOptions& options) {
  const std::vector<Row> rows = ChooseRows(trace, options);
  const int height = kTitleHeight + static_cast<int>(rows.size()) * kRowHeight + kAxisHeight;
  QImage image(options.width, height, QImage::Format_RGB32);
  image.fill(Qt::white);
  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing);
  const QFont labels("DejaVu Sans", 10);
  const QFont mono("DejaVu Sans Mono", 9);
  painter.setFont(labels);

  const int plotLeft = kLabelWidth;
  const int plotRight = options.width - kRightMargin;
  const double span = static_cast<double>(options.to - options.from);
  const auto x = [&](int64_t at) {
    const double clamped = std::clamp(static_cast<double>(at - options.from), 0.0, span);
    return plotLeft + clamped * (plotRight - plotLeft) / span;
  };
  const int plotBottom = kTitleHeight + static_cast<int>(rows.size()) * kRowHeight;

  // The time axis and its grid, in the trace's own time.
  const double unit = trace.secondsPerUnit;
  const double step = TickStep(span * unit);
  painter.setPen(Qt::black);
  painter.drawLine(plotLeft, plotBottom + 4, plotRight, plotBottom + 4);
  for (double t = std::ceil(options.from * unit / step) * step; t <= options.to * unit + step / 1e6;
       t += step) {
    const double tx = x(static_cast<int64_t>(std::llround(t / unit)));
    painter.setPen(kGrid);
    painter.drawLine(QPointF(tx, kTitleHeight), QPointF(tx, plotBottom));
    painter.setPen(Qt::black);
    painter.drawLine(QPointF(tx, plotBottom + 4), QPointF(tx, plotBottom + 9));
    painter.drawText(QRectF(tx - 60, plotBottom + 10, 120, 20), Qt::AlignHCenter | Qt::AlignTop,
                     TimeText(t, step));
  }
  const bool oneScope = std::none_of(rows.begin(), rows.end(), [](const Row& row) {
    return row.label.find('.') != std::string::npos;
  });
  const std::string title = oneScope && rows[0].signal ? rows[0].signal->scope : "";
  painter.drawText(QRectF(8, 4, options.width - 16, kTitleHeight - 8),
                   Qt::AlignLeft | Qt::AlignVCenter,
                   QString::fromStdString(title) + "  " + TimeText(options.from * unit, step) +
                       " to " + TimeText(options.to * unit, step));

  for (size_t r = 0; r < rows.size(); ++r) {
    const Row& row = rows[r];
    const double top = kTitleHeight + static_cast<double>(r) * kRowHeight + (kRowHeight - kWaveHeight) / 2.0;
    const double bottom = top + kWaveHeight;
    painter.setPen(Qt::black);
    painter.setFont(labels);
    painter.drawText(QRectF(8, top - 4, kLabelWidth - 16, kWaveHeight + 8),
                     Qt::AlignRight | Qt::AlignVCenter, QString::fromStdString(row.label));
    if (!row.signal) {
      // Bytes: a box from the first bit taken to one bit after the last.
      painter.setFont(mono);
      for (const Byte& byte : row.bytes) {
        const double left = x(byte.first);
        const double right = x(byte.last + (byte.last - byte.first) / 7);
        painter.setPen(kBytes);
        painter.drawRect(QRectF(left, top + 2, std::max(1.0, right - left), kWaveHeight - 4));
        char text[4];
        std::snprintf(text, sizeof text, "%02X", byte.value);
        if (right - left > 18) {
          painter.drawText(QRectF(left, top, right - left, kWaveHeight), Qt::AlignCenter, text);
        }
      }
      continue;
    }
    painter.fillRect(QRectF(plotLeft, top, plotRight - plotLeft, kWaveHeight), kBand);
    const auto y = [&](char level) {
      return level == '1' ? top : level == '0' ? bottom : (top + bottom) / 2;
    };
    QPainterPath path;
    char level = row.signal->LevelAt(options.from);
    path.moveTo(plotLeft, y(level));
    const auto& changes = row.signal->changes;
    auto change = std::upper_bound(changes.begin(), changes.end(), options.from,
                                   [](int64_t t, const Change& c) { return t < c.at; });
    for (; change != changes.end() && change->at <= options.to; ++change) {
      const double cx = x(change->at);
      path.lineTo(cx, y(level));
      level = change->level;
      path.lineTo(cx, y(level));
    }
    path.lineTo(plotRight, y(level));
    painter.setPen(QPen(kWave, 1.5));
    painter.drawPath(path);
  }
  return image;
}

}  // namespace brevant::wave
