#include "EepromCommand.h"

#include <cstdio>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>

#include "Number.h"
#include "ToolError.h"
#include "brevant/ConfigEeprom.h"
#include "brevant/EepromImage.h"

namespace brevant::tool {

namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kPartNames[] = {"FT232R", "FT2232D", "FT232H", "FT2232H", "FT4232H"};

std::string Hex(uint32_t value, int digits) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%0*X", digits, value);
  return text;
}

// Trailing zeros left out: the area grows and shrinks with the strings, and
// Encode fills it up with zeros.
std::string HexBytes(std::vector<uint8_t> bytes) {
  while (!bytes.empty() && bytes.back() == 0) bytes.pop_back();
  std::string text;
  for (uint8_t b : bytes) text += Hex(b, 2).substr(2);
  return text;
}

// The image as the JSON file holds it; `part`, `checksumValid` and `words` are
// read only.
Json ToJson(EepromPart part, const EepromImage& image, size_t words) {
  Json channels = Json::array();
  for (const EepromImage::Channel& c : image.channels) {
    channels.push_back(
        {{"type", std::string(ChannelTypeName(c.type))}, {"driver", c.vcp ? "vcp" : "d2xx"}});
  }
  return Json{{"part", kPartNames[static_cast<int>(part)]},
              {"words", words},
              {"checksumValid", image.checksumValid},
              {"vendorId", Hex(image.vendorId, 4)},
              {"productId", Hex(image.productId, 4)},
              {"manufacturer", image.manufacturer},
              {"product", image.product},
              {"serialNumber", image.serialNumber},
              {"selfPowered", image.selfPowered},
              {"remoteWakeup", image.remoteWakeup},
              {"maxPowerMa", image.maxPowerMa},
              {"channels", channels},
              {"cbus", image.cbus},
              {"user", HexBytes(image.user)}};
}

[[noreturn]] void Refuse(const std::string& field, const std::string& why) {
  throw ToolError("EEPROM file: " + field + " " + why, ExitStatus::kUsage);
}

uint16_t Id(const Json& value, const std::string& field) {
  const uint32_t id = value.is_string()            ? ParseNumber(value.get<std::string>(), field)
                      : value.is_number_unsigned() ? value.get<uint32_t>()
                                                   : 0x10000;
  if (id > 0xFFFF) Refuse(field, "is not a 16-bit id (\"0x0403\" or a number)");
  return static_cast<uint16_t>(id);
}

template <class T>
T Typed(const Json& value, const std::string& field, bool ok, const char* what) {
  if (!ok) Refuse(field, std::string("must be ") + what);
  return value.get<T>();
}

std::vector<uint8_t> ParseHex(const std::string& text, const std::string& field) {
  if (text.size() % 2 != 0) Refuse(field, "must be pairs of hexadecimal digits");
  std::vector<uint8_t> bytes;
  for (size_t i = 0; i < text.size(); i += 2) {
    const std::string pair = text.substr(i, 2);
    if (pair.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
      Refuse(field, "must be pairs of hexadecimal digits");
    bytes.push_back(static_cast<uint8_t>(std::stoul(pair, nullptr, 16)));
  }
  return bytes;
}

// The fields of `file` over `image`; those it leaves out keep their values.
// Every field is checked for its kind here, its value by EepromImage::Encode.
EepromImage Overlay(EepromImage image, EepromPart part, const Json& file) {
  if (!file.is_object()) Refuse("", "must hold one JSON object");
  for (const auto& [key, value] : file.items()) {
    if (key == "part") {
      if (value != kPartNames[static_cast<int>(part)])
        Refuse("part",
               "is " + value.dump() + ", the device is an " + kPartNames[static_cast<int>(part)]);
    } else if (key == "words" || key == "checksumValid") {
      // Read only: what `read` reported.
    } else if (key == "vendorId") {
      image.vendorId = Id(value, key);
    } else if (key == "productId") {
      image.productId = Id(value, key);
    } else if (key == "manufacturer" || key == "product" || key == "serialNumber") {
      std::string& text = key == "manufacturer" ? image.manufacturer
                          : key == "product"    ? image.product
                                                : image.serialNumber;
      text = Typed<std::string>(value, key, value.is_string(), "a string");
    } else if (key == "selfPowered" || key == "remoteWakeup") {
      (key == "selfPowered" ? image.selfPowered : image.remoteWakeup) =
          Typed<bool>(value, key, value.is_boolean(), "true or false");
    } else if (key == "maxPowerMa") {
      image.maxPowerMa = Typed<int32_t>(value, key, value.is_number_integer(), "a whole number");
    } else if (key == "channels") {
      if (!value.is_array() || value.size() != image.channels.size())
        Refuse(key, "must list the part's " + std::to_string(image.channels.size()) + " channels");
      for (size_t i = 0; i < value.size(); ++i) {
        const std::string at = key + "[" + std::to_string(i) + "]";
        const Json& c = value[i];
        if (!c.is_object()) Refuse(at, "must be an object with type and driver");
        if (c.contains("type")) {
          const auto name = Typed<std::string>(c["type"], at + ".type", c["type"].is_string(),
                                               "uart, fifo245, cpufifo or opto");
          image.channels[i].type = ChannelTypeNamed(name);
          if (image.channels[i].type == ChannelType::kUnknown)
            Refuse(at + ".type", "\"" + name + "\" is not uart, fifo245, cpufifo or opto");
        }
        if (c.contains("driver")) {
          const Json& d = c["driver"];
          if (d != "vcp" && d != "d2xx") Refuse(at + ".driver", "must be \"vcp\" or \"d2xx\"");
          image.channels[i].vcp = d == "vcp";
        }
      }
    } else if (key == "cbus") {
      if (!value.is_array()) Refuse(key, "must be a list of function codes");
      image.cbus.clear();
      for (const Json& code : value) {
        if (!code.is_number_unsigned() || code.get<uint32_t>() > 0xFF)
          Refuse(key, "must be a list of function codes");
        image.cbus.push_back(code.get<uint8_t>());
      }
    } else if (key == "user") {
      image.user = ParseHex(Typed<std::string>(value, key, value.is_string(), "a hex string"), key);
    } else {
      Refuse(key, "is no field of the EEPROM");
    }
  }
  return image;
}

void PrintText(std::ostream& out, const Json& json) {
  for (const auto& [key, value] : json.items()) {
    out << key << ": " << (value.is_string() ? value.get<std::string>() : value.dump()) << '\n';
  }
}

// What changes, one field a line: "product: "Dual RS232-HS" -> "Rig"".
int PrintChanges(std::ostream& out, const Json& from, const Json& to) {
  int changes = 0;
  for (const auto& [key, value] : to.items()) {
    if (key == "checksumValid" || from[key] == value) continue;
    out << key << ": " << from[key].dump() << " -> " << value.dump() << '\n';
    ++changes;
  }
  return changes;
}

// True when the user answers yes to `question`.
bool Agreed(std::istream& in, std::ostream& out, const std::string& question) {
  out << question << " [y/N] " << std::flush;
  std::string answer;
  std::getline(in, answer);
  return answer == "y" || answer == "Y" || answer == "yes";
}

}  // namespace

EepromCommand::EepromCommand(CLI::App& app)
    : command_(app.add_subcommand("eeprom", "the part's configuration EEPROM")),
      device_(*command_) {
  command_->require_subcommand(1);
  read_ = command_->add_subcommand("read", "decode the EEPROM: ids, strings, power, channels");
  read_->add_flag("--json", json_, "print JSON, as `eeprom write` takes it");
  write_ = command_->add_subcommand(
      "write", "program the fields of a JSON file, after showing what changes; then verify");
  write_->add_option("file", file_, "FILE.json, as `eeprom read --json` prints it, or part of it")
      ->required();
  write_->add_flag("-y,--yes", yes_, "program without asking");
  erase_ = command_->add_subcommand("erase", "blank the EEPROM: the part starts with defaults");
  erase_->add_flag("-y,--yes", yes_, "erase without asking");
}

void EepromCommand::Run(const std::shared_ptr<icLog>& log, std::istream& in,
                        std::ostream& out) const {
  // The file first: a mistake there touches no device.
  Json file;
  if (write_->parsed()) {
    std::ifstream stream(file_);
    if (!stream) throw ToolError("cannot read " + file_, ExitStatus::kUsage);
    try {
      file = Json::parse(stream);
    } catch (const Json::parse_error& e) {
      throw ToolError(file_ + " is not JSON: " + e.what(), ExitStatus::kUsage);
    }
  }
  ConfigEeprom eeprom;
  eeprom.Log(log);
  eeprom.Open(device_.Resolve(log));
  const EepromPart part = eeprom.Part();
  const std::vector<uint16_t> words = eeprom.Read();
  const EepromImage image = EepromImage::Decode(part, words);
  const Json now = ToJson(part, image, words.size());
  if (read_->parsed()) {
    if (json_) {
      out << now.dump(2) << '\n';
    } else {
      PrintText(out, now);
    }
  }
  if (write_->parsed()) {
    const EepromImage wanted = Overlay(image, part, file);
    // Encoding checks every value before anything is programmed.
    std::vector<uint16_t> programmed = wanted.Encode(part, words);
    EepromImage result = EepromImage::Decode(part, programmed);
    if (PrintChanges(out, now, ToJson(part, result, words.size())) == 0 && image.checksumValid) {
      out << "nothing to change\n";
    } else if (!yes_ && !Agreed(in, out, "Program the EEPROM?")) {
      throw ToolError("nothing programmed");
    } else {
      const int32_t written = eeprom.Program(programmed);
      out << "programmed " << written
          << " words, verified; the part uses them after its next "
             "power-up\n";
    }
  }
  if (erase_->parsed()) {
    if (!yes_ && !Agreed(in, out, "Erase the EEPROM? The part then starts with its defaults.")) {
      throw ToolError("nothing erased");
    }
    eeprom.Erase();
    out << "erased, verified\n";
  }
  eeprom.Close();
}

}  // namespace brevant::tool
