// What an independent reader makes of a recorded Value Change Dump: sigrok-cli's
// protocol decoders, and the edges of one signal read straight from the text.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace brevant::testing {

// sigrok-cli, as CMake found it; empty where it is not installed.
inline constexpr const char* kSigrokCli = BREVANT_SIGROK_CLI;

#define SKIP_WITHOUT_SIGROK()                                                          \
  if (*::brevant::testing::kSigrokCli == '\0') {                                       \
    GTEST_SKIP() << "sigrok-cli is not installed (Debian: sigrok-cli; make test installs it)"; \
  }

struct Annotation {
  long start;  // sample numbers: nanoseconds, the file's time unit
  long end;
  std::string text;
};

// The annotations of `classes` ("mosi-data", "start:stop") that the decoder
// `decoder` ("spi:clk=SK:mosi=DO:cs=CS:cpol=1") finds in `vcd`.
inline std::vector<Annotation> Decode(const std::filesystem::path& vcd, const std::string& decoder,
                                      const std::string& classes) {
  const std::string name = decoder.substr(0, decoder.find(':'));
  const std::string command = std::string(kSigrokCli) + " -I vcd -i '" + vcd.string() + "' -P " +
                              decoder + " -A " + name + "=" + classes +
                              " --protocol-decoder-samplenum 2>&1";
  std::vector<Annotation> found;
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return found;
  char line[65536];
  while (std::fgets(line, sizeof line, pipe) != nullptr) {
    // "1200-1467 spi-1: 9F"
    Annotation annotation{};
    int used = 0;
    if (std::sscanf(line, "%ld-%ld %*s %n", &annotation.start, &annotation.end, &used) != 2) {
      ADD_FAILURE() << "sigrok-cli: " << line;
      continue;
    }
    annotation.text = std::string(line + used);
    while (!annotation.text.empty() && annotation.text.back() == '\n') annotation.text.pop_back();
    found.push_back(annotation);
  }
  EXPECT_EQ(pclose(pipe), 0) << command;
  return found;
}

// The texts alone, in order.
inline std::vector<std::string> Texts(const std::vector<Annotation>& annotations) {
  std::vector<std::string> texts;
  for (const Annotation& annotation : annotations) texts.push_back(annotation.text);
  return texts;
}

// Bytes from annotations that are two hexadecimal digits each ("9F").
inline std::vector<int> Bytes(const std::vector<Annotation>& annotations) {
  std::vector<int> bytes;
  for (const Annotation& annotation : annotations) {
    bytes.push_back(std::stoi(annotation.text, nullptr, 16));
  }
  return bytes;
}

// The times at which `signal` rises, read from the file's text: "$var wire 1 !
// SK $end" gives its code, "#1200" the time of the changes below it.
inline std::vector<long> RisingEdges(const std::string& vcd, const std::string& signal) {
  std::istringstream in(vcd);
  std::string line;
  std::string code;
  long now = 0;
  bool level = true;
  std::vector<long> edges;
  while (std::getline(in, line)) {
    std::istringstream words(line);
    std::string first;
    words >> first;
    if (first == "$var") {
      std::string type, width, id, name;
      words >> type >> width >> id >> name;
      if (name == signal) code = id;
    } else if (!line.empty() && line[0] == '#') {
      now = std::stol(line.substr(1));
    } else if (!code.empty() && line.size() > 1 && line.substr(1) == code) {
      if (line[0] == '1' && !level) edges.push_back(now);
      level = line[0] == '1';
    }
  }
  return edges;
}

// The clock period the file shows while it runs: the spacing of consecutive
// rising edges that occurs most often, averaged with its 1 ns neighbours
// (times are whole nanoseconds, so 30 MHz shows as 33 and 34).
inline double ClockPeriodNs(const std::vector<long>& rising) {
  std::map<long, int> spacings;
  for (size_t i = 1; i < rising.size(); ++i) ++spacings[rising[i] - rising[i - 1]];
  if (spacings.empty()) return 0;
  const auto common = std::max_element(spacings.begin(), spacings.end(),
                                       [](auto& a, auto& b) { return a.second < b.second; });
  double sum = 0;
  int count = 0;
  for (const auto& [spacing, times] : spacings) {
    if (spacing < common->first - 1 || spacing > common->first + 1) continue;
    sum += static_cast<double>(spacing) * times;
    count += times;
  }
  return sum / count;
}

}  // namespace brevant::testing
