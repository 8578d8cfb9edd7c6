#include "VcdTrace.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <sstream>

namespace brevant::wave {

namespace {

// Whitespace-separated words, counting lines for the error messages.
class Words {
 public:
  explicit Words(std::istream& in) : in_(in) {}
  bool Next(std::string& word) {
    word.clear();
    int c = 0;
    while ((c = in_.get()) != EOF && std::isspace(c)) {
      if (c == '\n') ++line_;
    }
    while (c != EOF && !std::isspace(c)) {
      word += static_cast<char>(c);
      c = in_.get();
    }
    if (c == '\n') ++line_;
    return !word.empty();
  }
  [[noreturn]] void Fail(const std::string& problem) const {
    throw VcdError("line " + std::to_string(line_) + ": " + problem);
  }
  // The words up to $end.
  std::vector<std::string> UpToEnd() {
    std::vector<std::string> words;
    std::string word;
    while (Next(word)) {
      if (word == "$end") return words;
      words.push_back(word);
    }
    Fail("a section without $end");
  }

 private:
  std::istream& in_;
  int line_ = 1;
};

double UnitSeconds(const std::string& unit) {
  static const std::map<std::string, double> kUnits = {
      {"s", 1}, {"ms", 1e-3}, {"us", 1e-6}, {"ns", 1e-9}, {"ps", 1e-12}, {"fs", 1e-15}};
  const auto found = kUnits.find(unit);
  return found == kUnits.end() ? 0 : found->second;
}

}  // namespace

char Signal::LevelAt(int64_t at) const {
  const auto after = std::upper_bound(changes.begin(), changes.end(), at,
                                      [](int64_t t, const Change& change) { return t < change.at; });
  return after == changes.begin() ? 'x' : std::prev(after)->level;
}

VcdTrace ReadVcd(std::istream& in) {
  VcdTrace trace;
  Words words(in);
  std::vector<std::string> scopes;
  std::map<std::string, std::vector<size_t>> byCode;  // one code may name several signals
  int64_t now = 0;
  std::string word;
  while (words.Next(word)) {
    if (word == "$timescale") {
      std::string text;
      for (const std::string& part : words.UpToEnd()) text += part;
      const size_t digits = text.find_first_not_of("0123456789");
      const double unit = digits == 0 || digits == std::string::npos
                              ? 0
                              : std::stod(text.substr(0, digits)) * UnitSeconds(text.substr(digits));
      if (unit <= 0) words.Fail("a time scale of \"" + text + "\"");
      trace.secondsPerUnit = unit;
    } else if (word == "$scope") {
      const std::vector<std::string> parts = words.UpToEnd();
      scopes.push_back(parts.size() >= 2 ? parts[1] : "");
    } else if (word == "$upscope") {
      words.UpToEnd();
      if (!scopes.empty()) scopes.pop_back();
    } else if (word == "$var") {
      const std::vector<std::string> parts = words.UpToEnd();
      if (parts.size() < 4) words.Fail("a $var without type, width, code and name");
      if (parts[1] != "1") continue;
      byCode[parts[2]].push_back(trace.signals.size());
      trace.signals.push_back({scopes.empty() ? "" : scopes.back(), parts[3], {}});
    } else if (word == "$dumpvars" || word == "$dumpon" || word == "$dumpoff" ||
               word == "$dumpall" || word == "$end") {
      // Their value changes follow as usual.
    } else if (word[0] == '$') {
      words.UpToEnd();
    } else if (word[0] == '#') {
      char* end = nullptr;
      const long long at = std::strtoll(word.c_str() + 1, &end, 10);
      if (*end != '\0' || at < now) words.Fail("a time stamp of \"" + word + "\"");
      now = at;
      trace.last = now;
    } else if (word[0] == 'b' || word[0] == 'B' || word[0] == 'r' || word[0] == 'R') {
      words.Next(word);  // a vector or real value's code: not drawn
    } else {
      const char level = word[0] == '0' || word[0] == '1' ? word[0] : 'x';
      if (std::string("01xXzZ").find(word[0]) == std::string::npos) {
        words.Fail("\"" + word + "\" is no value change");
      }
      const auto found = byCode.find(word.substr(1));
      if (found == byCode.end()) words.Fail("\"" + word + "\" changes a signal never declared");
      for (const size_t index : found->second) {
        std::vector<Change>& changes = trace.signals[index].changes;
        if (!changes.empty() && changes.back().at == now) {
          changes.back().level = level;
        } else if (changes.empty() || changes.back().level != level) {
          changes.push_back({now, level});
        }
      }
    }
  }
  return trace;
}

}  // namespace brevant::wave
