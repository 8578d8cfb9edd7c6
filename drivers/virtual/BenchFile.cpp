#include "virtual/BenchFile.h"

#include <array>
#include <bit>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <set>
#include <string_view>
#include <system_error>
#include <vector>

#include "virtual/mpsse/I2cEeprom.h"
#include "virtual/mpsse/JtagChain.h"
#include "virtual/mpsse/MpsseBench.h"
#include "virtual/mpsse/SpiFlash.h"
#include "virtual/mpsse/TemperatureSensor.h"

namespace brevant::virt {

namespace {

using nlohmann::json;

constexpr uint8_t kMpsseMode = 2;  // peripherals on the serial pins need the MPSSE
// A bench file is a page of text; anything larger is the wrong file.
constexpr size_t kMaxFileBytes = 1 << 20;

constexpr std::array<PartKind, 5> kKinds = {PartKind::kFT232H, PartKind::kFT2232D,
                                            PartKind::kFT2232H, PartKind::kFT4232H,
                                            PartKind::kFT232R};

// The fault plan's names of the driver functions, as Named reads them.
constexpr auto kCalls = [] {
  std::array<std::pair<std::string_view, Call>, kCallCount> calls{};
  for (int c = 0; c < kCallCount; ++c) calls[c] = {kCallNames[c], static_cast<Call>(c)};
  return calls;
}();

constexpr std::array<std::pair<std::string_view, FaultKind>, 4> kFaultKinds = {{
    {"status", FaultKind::kStatus},
    {"shortWrite", FaultKind::kShortWrite},
    {"shortRead", FaultKind::kShortRead},
    {"vanish", FaultKind::kVanish},
}};

constexpr std::array<std::pair<std::string_view, uint32_t>, 3> kListReads = {{
    {"serialNumber", ft::kOpenBySerialNumber},
    {"description", ft::kOpenByDescription},
    {"location", ft::kOpenByLocation},
}};

// Walks one file and refuses it at the first problem, naming where it is.
class Reader {
 public:
  explicit Reader(std::string name) : name_(std::move(name)) {}

  [[noreturn]] void Fail(const std::string& place, const std::string& problem) const {
    throw BenchFileError(name_ + ": " + place + ": " + problem);
  }

  // Every key must be one the format knows: a misspelt key is a mistake, not a
  // default.
  void Keys(const json& object, const std::string& place,
            std::initializer_list<std::string_view> known) const {
    if (!object.is_object()) Fail(place, "expected an object");
    for (const auto& [key, value] : object.items()) {
      bool found = false;
      for (std::string_view k : known) found = found || k == key;
      if (!found) Fail(place, "unknown key \"" + key + "\"");
    }
  }

  const json& Required(const json& object, const std::string& place, const char* key) const {
    if (!object.contains(key)) Fail(place, std::string("missing \"") + key + "\"");
    return object.at(key);
  }

  std::string Text(const json& value, const std::string& place) const {
    if (!value.is_string()) Fail(place, "expected a text");
    return value.get<std::string>();
  }

  bool Boolean(const json& value, const std::string& place) const {
    if (!value.is_boolean()) Fail(place, "expected true or false");
    return value.get<bool>();
  }

  // A whole number from `low` to `high`; for a location also a "0x..." text,
  // the way locations are written everywhere else.
  uint64_t Number(const json& value, const std::string& place, uint64_t low, uint64_t high,
                  bool hexText = false) const {
    const std::string range = "from " + std::to_string(low) + " to " + std::to_string(high);
    uint64_t number = 0;
    if (value.is_number_unsigned()) {
      number = value.get<uint64_t>();
    } else if (hexText && value.is_string()) {
      const std::string text = value.get<std::string>();
      const char* end = text.data() + text.size();
      const bool prefixed = text.size() > 2 && text.compare(0, 2, "0x") == 0;
      const auto [stop, error] =
          prefixed ? std::from_chars(text.data() + 2, end, number, 16) : std::from_chars_result{};
      if (!prefixed || stop != end || error != std::errc()) {
        Fail(place, "expected a number or a \"0x...\" text, not \"" + text + "\"");
      }
    } else {
      Fail(place, hexText ? "expected a number or a \"0x...\" text" : "expected a number " + range);
    }
    if (number < low || number > high) Fail(place, "expected a number " + range);
    return number;
  }

  uint32_t Location(const json& value, const std::string& place) const {
    return static_cast<uint32_t>(Number(value, place, 0, UINT32_MAX, true));
  }
  FtStatus Status(const json& value, const std::string& place) const {
    return static_cast<FtStatus>(Number(value, place, 1, UINT32_MAX));
  }

  PartKind Kind(const json& value, const std::string& place) const {
    const std::string name = Text(value, place);
    for (PartKind kind : kKinds) {
      if (ModelOf(kind).name == name) return kind;
    }
    Fail(place,
         "unknown part \"" + name + "\"; known are FT232H, FT2232D, FT2232H, FT4232H, FT232R");
  }

  template <class T, size_t N>
  T Named(const json& value, const std::string& place,
          const std::array<std::pair<std::string_view, T>, N>& names) const {
    const std::string name = Text(value, place);
    for (const auto& [text, result] : names) {
      if (text == name) return result;
    }
    Fail(place, "unknown name \"" + name + "\"");
  }

  void Part(const json& entry, const std::string& place, Bench& bench) const {
    Keys(entry, place, {"part", "serial", "location", "description"});
    const PartKind kind = Kind(entry.at("part"), place + ".part");
    const std::string serial = Text(Required(entry, place, "serial"), place + ".serial");
    const uint32_t location = Location(Required(entry, place, "location"), place + ".location");
    std::string description;
    if (entry.contains("description")) {
      description = Text(entry.at("description"), place + ".description");
      if (description.empty()) Fail(place + ".description", "leave it out for the factory text");
    }
    bench.AddPart(kind, serial, location, description);
  }

  void Device(const json& entry, const std::string& place, Bench& bench) const {
    Keys(entry, place, {"serialNumber", "description", "location", "model", "listFailures"});
    const PartModel& model = ModelOf(
        entry.contains("model") ? Kind(entry.at("model"), place + ".model") : PartKind::kFT232H);
    DeviceIdentity identity{Text(Required(entry, place, "serialNumber"), place + ".serialNumber"),
                            Text(Required(entry, place, "description"), place + ".description"),
                            Location(Required(entry, place, "location"), place + ".location"),
                            model.type, model.usbId};
    const int index = bench.DeviceCount();
    bench.AddDevice(std::move(identity));
    if (!entry.contains("listFailures")) return;
    const std::string failures = place + ".listFailures";
    const json& reads = entry.at("listFailures");
    Keys(reads, failures, {"serialNumber", "description", "location"});
    for (const auto& [key, what] : kListReads) {
      if (!reads.contains(key)) continue;
      const FtStatus status = Status(reads.at(key), failures + "." + std::string(key));
      bench.Faults().AddListFault({.device = index, .what = what, .status = status});
    }
  }

  void PlannedFault(const json& entry, const std::string& place, Bench& bench) const {
    Keys(entry, place, {"call", "nth", "kind", "status", "count", "device"});
    Fault fault;
    fault.call = Named(Required(entry, place, "call"), place + ".call", kCalls);
    fault.nth =
        static_cast<int>(Number(Required(entry, place, "nth"), place + ".nth", 1, INT32_MAX));
    if (entry.contains("kind")) fault.kind = Named(entry.at("kind"), place + ".kind", kFaultKinds);
    // A key the kind does not use would be silently ignored: refuse it instead.
    const bool shortens =
        fault.kind == FaultKind::kShortWrite || fault.kind == FaultKind::kShortRead;
    if (fault.kind == FaultKind::kShortWrite && fault.call != Call::kWrite) {
      Fail(place + ".kind", "shortWrite can only be planned on FT_Write");
    }
    if (fault.kind == FaultKind::kShortRead && fault.call != Call::kRead) {
      Fail(place + ".kind", "shortRead can only be planned on FT_Read");
    }
    if (entry.contains("status")) {
      if (fault.kind != FaultKind::kStatus) Fail(place + ".status", "only kind status takes one");
      fault.status = Status(entry.at("status"), place + ".status");
    }
    if (entry.contains("count")) {
      if (!shortens) Fail(place + ".count", "only shortWrite and shortRead take one");
      fault.count =
          static_cast<uint32_t>(Number(entry.at("count"), place + ".count", 0, UINT32_MAX));
    }
    if (entry.contains("device")) {
      if (fault.kind != FaultKind::kVanish) Fail(place + ".device", "only vanish takes one");
      fault.device = static_cast<int>(Number(entry.at("device"), place + ".device", 0, INT32_MAX));
    }
    if (fault.kind == FaultKind::kVanish && fault.device >= bench.DeviceCount()) {
      Fail(place + ".device", "device " + std::to_string(fault.device) + " is beyond the list of " +
                                  std::to_string(bench.DeviceCount()) +
                                  ": there is nothing to unplug");
    }
    bench.Faults().Add(fault);
  }

  // A pin of a channel's two ports: ADBUS 0-7, ACBUS 8-15.
  int Pin(const json& value, const std::string& place) const {
    return static_cast<int>(Number(value, place, 0, 15));
  }

  // A list of two-element lists, such as [[8, 9], [5, 6]].
  std::vector<std::pair<uint64_t, uint64_t>> Pairs(const json& value, const std::string& place,
                                                   uint64_t secondHigh) const {
    if (!value.is_array()) Fail(place, "expected a list");
    std::vector<std::pair<uint64_t, uint64_t>> pairs;
    for (size_t i = 0; i < value.size(); ++i) {
      const std::string at = place + "[" + std::to_string(i) + "]";
      if (!value[i].is_array() || value[i].size() != 2) Fail(at, "expected a pair [a, b]");
      pairs.emplace_back(Pin(value[i][0], at + "[0]"),
                         Number(value[i][1], at + "[1]", 0, secondHigh));
    }
    return pairs;
  }

  void SpiFlashOn(Channel& channel, const json& entry, const std::string& place) const {
    Keys(entry, place, {"jedecId", "bytes", "sfdp"});
    const uint32_t id = static_cast<uint32_t>(
        Number(Required(entry, place, "jedecId"), place + ".jedecId", 0, 0xFFFFFF, true));
    const uint64_t bytes =
        Number(Required(entry, place, "bytes"), place + ".bytes", 4096, uint64_t{1} << 30);
    // The ID's last byte gives the capacity as a power of two, so a reader of the
    // ID and a reader of the size must find the same chip.
    const unsigned capacity = id & 0xFF;
    if (!std::has_single_bit(bytes)) {
      Fail(place + ".bytes", std::to_string(bytes) + " is not a power of two");
    }
    if (bytes != uint64_t{1} << std::min(capacity, 63u)) {
      Fail(place + ".bytes",
           std::to_string(bytes) + " does not match the jedecId's capacity code " +
               std::to_string(capacity) + ", which means 2^" + std::to_string(capacity) + " bytes");
    }
    const bool sfdp = entry.contains("sfdp") && Boolean(entry.at("sfdp"), place + ".sfdp");
    MpsseOf(channel).Attach(std::make_shared<SpiFlash>(
        std::array<uint8_t, 3>{static_cast<uint8_t>(id >> 16), static_cast<uint8_t>(id >> 8),
                               static_cast<uint8_t>(id)},
        static_cast<uint32_t>(bytes), sfdp));
  }

  void JtagOn(Channel& channel, const json& taps, const std::string& place) const {
    if (!taps.is_array() || taps.empty()) Fail(place, "expected a list of TAPs");
    std::vector<JtagTap> chain;
    for (size_t i = 0; i < taps.size(); ++i) {
      const std::string at = place + "[" + std::to_string(i) + "]";
      Keys(taps[i], at, {"irLength", "idcode", "idcodeInstruction"});
      const int ir =
          static_cast<int>(Number(Required(taps[i], at, "irLength"), at + ".irLength", 2, 32));
      const uint64_t instructionHigh = (uint64_t{1} << ir) - 1;
      chain.emplace_back(
          ir, static_cast<uint32_t>(Location(Required(taps[i], at, "idcode"), at + ".idcode")),
          static_cast<uint32_t>(Number(Required(taps[i], at, "idcodeInstruction"),
                                       at + ".idcodeInstruction", 0, instructionHigh, true)));
    }
    MpsseOf(channel).Attach(std::make_shared<JtagChain>(std::move(chain)));
  }

  // Targets on an I2C bus: [{"type": "eeprom", "address": 80, "bytes": 4096,
  // "pageBytes": 32}, {"type": "sensor", "address": 72, "celsius": 23.5}].
  void I2cOnPins(Channel& channel, const json& targets, const std::string& place) const {
    if (!targets.is_array() || targets.empty()) Fail(place, "expected a list of I2C targets");
    I2cPins& bus = I2cOn(channel);
    for (size_t i = 0; i < targets.size(); ++i) {
      const std::string at = place + "[" + std::to_string(i) + "]";
      const json& target = targets[i];
      const bool eeprom = Text(Required(target, at, "type"), at + ".type") == "eeprom";
      if (eeprom) {
        Keys(target, at, {"type", "address", "bytes", "pageBytes", "writeCycleUs"});
      } else {
        Keys(target, at, {"type", "address", "celsius"});
        if (target.at("type") != "sensor") {
          Fail(at + ".type", "unknown I2C target; known are eeprom, sensor");
        }
      }
      const auto address = static_cast<uint8_t>(
          Number(Required(target, at, "address"), at + ".address", 8, 0x77, true));
      if (bus.At(address) != nullptr) Fail(at + ".address", "another target has this address");
      try {
        if (eeprom) {
          const auto cycle =
              target.contains("writeCycleUs")
                  ? Number(target.at("writeCycleUs"), at + ".writeCycleUs", 0, 1000000)
                  : 5000;
          bus.Add(std::make_shared<I2cEeprom>(
              address, Number(Required(target, at, "bytes"), at + ".bytes", 128, 65536),
              Number(Required(target, at, "pageBytes"), at + ".pageBytes", 1, 65536),
              static_cast<int64_t>(cycle)));
        } else {
          const json& celsius = Required(target, at, "celsius");
          if (!celsius.is_number()) Fail(at + ".celsius", "expected a number");
          bus.Add(std::make_shared<TemperatureSensor>(address, celsius.get<double>()));
        }
      } catch (const std::invalid_argument& e) {
        Fail(at, e.what());
      }
    }
  }

  // What the board connects to one device's pins.
  void Wiring(const json& entry, const std::string& place, Bench& bench) const {
    Keys(entry, place, {"device", "spiFlash", "jtag", "i2c", "loops", "levels", "leds"});
    if (bench.DeviceCount() == 0) Fail(place, "the bench has no devices to wire");
    const uint64_t index = Number(Required(entry, place, "device"), place + ".device", 0,
                                  static_cast<uint64_t>(bench.DeviceCount() - 1));
    Channel& channel = bench.Device(static_cast<int>(index));
    const bool mpsse =
        entry.contains("spiFlash") || entry.contains("jtag") || entry.contains("i2c");
    if (mpsse && !channel.EngineFor(kMpsseMode)) Fail(place, "this channel has no MPSSE engine");
    if (entry.contains("spiFlash")) SpiFlashOn(channel, entry.at("spiFlash"), place + ".spiFlash");
    if (entry.contains("jtag")) JtagOn(channel, entry.at("jtag"), place + ".jtag");
    if (entry.contains("i2c")) I2cOnPins(channel, entry.at("i2c"), place + ".i2c");
    if (entry.contains("loops")) {
      for (const auto& [from, to] : Pairs(entry.at("loops"), place + ".loops", 15)) {
        channel.Board().Loop(static_cast<int>(from), static_cast<int>(to));
      }
    }
    if (entry.contains("levels")) {
      for (const auto& [pin, level] : Pairs(entry.at("levels"), place + ".levels", 1)) {
        channel.Board().Drive(static_cast<int>(pin), level == 1);
      }
    }
    if (entry.contains("leds")) {
      const json& leds = entry.at("leds");
      if (!leds.is_array()) Fail(place + ".leds", "expected a list of pins");
      for (size_t i = 0; i < leds.size(); ++i) {
        channel.Board().Led(Pin(leds[i], place + ".leds[" + std::to_string(i) + "]"));
      }
    }
  }

  // {"vcd": "trace.vcd", "devices": [0, 1]}: the pins of these devices (all
  // when left out) recorded into the file.
  void Recording(const json& entry, Bench& bench) const {
    const std::string place = "record";
    Keys(entry, place, {"vcd", "devices"});
    const std::string path = Text(Required(entry, place, "vcd"), place + ".vcd");
    if (path.empty()) Fail(place + ".vcd", "expected the name of a file");
    std::vector<int> devices;
    if (entry.contains("devices")) {
      const json& list = entry.at("devices");
      if (!list.is_array() || list.empty()) Fail(place + ".devices", "expected a list of devices");
      if (bench.DeviceCount() == 0) Fail(place + ".devices", "the bench has no devices");
      for (size_t i = 0; i < list.size(); ++i) {
        devices.push_back(static_cast<int>(
            Number(list[i], place + ".devices[" + std::to_string(i) + "]", 0,
                   static_cast<uint64_t>(bench.DeviceCount() - 1))));
      }
    }
    try {
      bench.RecordTo(path, devices);
    } catch (const StateError& e) {
      Fail(place + ".vcd", e.what());
    }
  }

  std::shared_ptr<Bench> Read(const json& root) const {
    Keys(root, "top level", {"devices", "wiring", "faults", "record"});
    const json& devices = Required(root, "top level", "devices");
    if (!devices.is_array()) Fail("devices", "expected a list");
    auto bench = std::make_shared<Bench>();
    for (size_t i = 0; i < devices.size(); ++i) {
      const std::string place = "devices[" + std::to_string(i) + "]";
      const json& entry = devices[i];
      if (!entry.is_object()) Fail(place, "expected an object");
      // A part stands for all its channels; anything else is one device as given.
      if (entry.contains("part")) {
        Part(entry, place, *bench);
      } else {
        Device(entry, place, *bench);
      }
    }
    if (root.contains("wiring")) {
      const json& wiring = root.at("wiring");
      if (!wiring.is_array()) Fail("wiring", "expected a list");
      for (size_t i = 0; i < wiring.size(); ++i) {
        Wiring(wiring[i], "wiring[" + std::to_string(i) + "]", *bench);
      }
    }
    if (root.contains("faults")) {
      const json& faults = root.at("faults");
      if (!faults.is_array()) Fail("faults", "expected a list");
      for (size_t i = 0; i < faults.size(); ++i) {
        PlannedFault(faults[i], "faults[" + std::to_string(i) + "]", *bench);
      }
    }
    if (root.contains("record")) Recording(root.at("record"), *bench);
    return bench;
  }

 private:
  std::string name_;
};

// Follows the parser through the text, so that what the parsed value can no
// longer show is refused by its place: a key given twice (the parser would keep
// the last) and a NUL inside a text (which would cut a serial number short).
class Places {
 public:
  explicit Places(const Reader& reader) : reader_(reader) {}

  bool See(json::parse_event_t event, const json& parsed) {
    using Event = json::parse_event_t;
    switch (event) {
      case Event::object_start:
      case Event::array_start:
        Element();
        frames_.push_back({event == Event::array_start, -1, {}, {}});
        break;
      case Event::object_end:
      case Event::array_end:
        frames_.pop_back();
        break;
      case Event::key: {
        Frame& frame = frames_.back();
        frame.key.clear();  // the place of the object, until the key is known good
        const std::string& key = parsed.get_ref<const std::string&>();
        if (key.find('\0') != std::string::npos) reader_.Fail(Place(), "a NUL in a key");
        frame.key = key;
        if (!frame.keys.insert(key).second) reader_.Fail(Place(), "the key comes twice");
        break;
      }
      case Event::value:
        Element();
        if (parsed.is_string() &&
            parsed.get_ref<const std::string&>().find('\0') != std::string::npos) {
          reader_.Fail(Place(), "a NUL in a text");
        }
        break;
    }
    return true;
  }

 private:
  struct Frame {
    bool array;
    long index;
    std::string key;
    std::set<std::string> keys;
  };

  // A value begins: in a list, it is the next element.
  void Element() {
    if (!frames_.empty() && frames_.back().array) ++frames_.back().index;
  }

  std::string Place() const {
    std::string place;
    for (const Frame& frame : frames_) {
      // Appended piece by piece: GCC 12 warns wrongly about a temporary
      // made of a literal and a string.
      if (frame.array) {
        place += '[';
        place += std::to_string(frame.index);
        place += ']';
      } else if (!frame.key.empty()) {
        if (!place.empty()) place += '.';
        place += frame.key;
      }
    }
    return place.empty() ? "top level" : place;
  }

  const Reader& reader_;
  std::vector<Frame> frames_;
};

}  // namespace

std::shared_ptr<Bench> LoadBenchText(const std::string& text, const std::string& name) {
  const Reader reader(name);
  Places places(reader);
  json root;
  try {
    root = json::parse(text, [&places](int, json::parse_event_t event, json& parsed) {
      return places.See(event, parsed);
    });
  } catch (const json::exception& e) {  // a syntax error, or a number out of range
    // The library's own "[json.exception...]" tag says nothing to a reader.
    std::string_view message = e.what();
    if (const size_t tag = message.find("] "); tag != std::string_view::npos) {
      message.remove_prefix(tag + 2);
    }
    throw BenchFileError(name + ": " + std::string(message));
  }
  return reader.Read(root);
}

std::shared_ptr<Bench> LoadBenchFile(const std::string& path) {
  // Only a regular file: a FIFO or device would block or never end, and a
  // directory has no text. The stat comes first because opening a FIFO blocks.
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  if (!std::filesystem::exists(status)) throw BenchFileError(path + ": cannot open the file");
  if (!std::filesystem::is_regular_file(status)) {
    throw BenchFileError(path + ": not a regular file");
  }
  std::ifstream file(path, std::ios::binary);
  if (!file) throw BenchFileError(path + ": cannot open the file");
  // One byte more than allowed tells a file that is too large.
  std::string text(kMaxFileBytes + 1, '\0');
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  if (file.bad()) throw BenchFileError(path + ": cannot read the file");
  text.resize(static_cast<size_t>(file.gcount()));
  if (text.size() > kMaxFileBytes) {
    throw BenchFileError(path + ": larger than " + std::to_string(kMaxFileBytes) +
                         " bytes, too large for a bench file");
  }
  return LoadBenchText(text, path);
}

}  // namespace brevant::virt
