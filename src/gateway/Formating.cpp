#include "gateway/Formating.h"

#include <array>
#include <bit>
#include <cstring>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#endif

#include "brevant/Error.h"

namespace brevant {

namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

// Each byte value as its two digits and a blank, four bytes wide so that one
// unaligned store writes a whole entry; the next store covers the fourth byte.
constexpr std::array<uint32_t, 256> MakeHexTriples() {
  std::array<uint32_t, 256> triples{};
  for (uint32_t value = 0; value < 256; ++value) {
    const auto high = static_cast<uint32_t>(static_cast<unsigned char>(kHexDigits[value >> 4]));
    const auto low = static_cast<uint32_t>(static_cast<unsigned char>(kHexDigits[value & 0xF]));
    // Little-endian order is character order; big-endian hosts get the reverse.
    if constexpr (std::endian::native == std::endian::little) {
      triples[value] = high | low << 8 | uint32_t{' '} << 16;
    } else {
      triples[value] = high << 24 | low << 16 | uint32_t{' '} << 8;
    }
  }
  return triples;
}
constexpr std::array<uint32_t, 256> kHexTriples = MakeHexTriples();

size_t DumpSize(std::span<const uint8_t> bytes) {
  return bytes.empty() ? 0 : 3 * bytes.size() - 1;
}

void WriteDumpScalar(std::span<const uint8_t> bytes, char* out) {
  const size_t last = bytes.size() - 1;
  for (size_t i = 0; i < last; ++i) std::memcpy(out + 3 * i, &kHexTriples[bytes[i]], 4);
  // The last entry has no blank behind it and no room for the fourth byte.
  std::memcpy(out + 3 * last, &kHexTriples[bytes[last]], 2);
}

#if defined(__x86_64__) || defined(__i386__)
// Thirty-two bytes at a time: the nibbles pick their digits with a byte shuffle,
// and three more shuffles spread each half's 32 digits over 48 characters with
// the blanks in between. The shuffles work within 128-bit lanes, so each lane
// makes one 48-character block and the stores put the lanes' pieces in order.
// Runs wherever the processor has AVX2; the scalar loop serves the rest and the
// tail.
__attribute__((target("avx2"))) void WriteDumpAvx2(std::span<const uint8_t> bytes, char* out) {
  const __m256i digits = _mm256_setr_epi8('0', '1', '2', '3', '4', '5', '6', '7', '8', '9', 'A',
                                          'B', 'C', 'D', 'E', 'F', '0', '1', '2', '3', '4', '5',
                                          '6', '7', '8', '9', 'A', 'B', 'C', 'D', 'E', 'F');
  const __m256i nibble = _mm256_set1_epi8(0x0F);
  // -1 marks a blank: the shuffle writes 0 there and the blank is or-ed in.
  const __m256i lowTo0 = _mm256_broadcastsi128_si256(
      _mm_setr_epi8(0, 1, -1, 2, 3, -1, 4, 5, -1, 6, 7, -1, 8, 9, -1, 10));
  const __m256i lowTo1 = _mm256_broadcastsi128_si256(
      _mm_setr_epi8(11, -1, 12, 13, -1, 14, 15, -1, -1, -1, -1, -1, -1, -1, -1, -1));
  const __m256i highTo1 = _mm256_broadcastsi128_si256(
      _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, 0, 1, -1, 2, 3, -1, 4, 5));
  const __m256i highTo2 = _mm256_broadcastsi128_si256(
      _mm_setr_epi8(-1, 6, 7, -1, 8, 9, -1, 10, 11, -1, 12, 13, -1, 14, 15, -1));
  const __m256i none = _mm256_set1_epi8(-1);
  const __m256i blanks = _mm256_set1_epi8(' ');
  const __m256i blanks0 = _mm256_and_si256(blanks, _mm256_cmpeq_epi8(lowTo0, none));
  const __m256i blanks1 = _mm256_and_si256(
      blanks, _mm256_and_si256(_mm256_cmpeq_epi8(lowTo1, none), _mm256_cmpeq_epi8(highTo1, none)));
  const __m256i blanks2 = _mm256_and_si256(blanks, _mm256_cmpeq_epi8(highTo2, none));

  size_t i = 0;
  // Whole blocks only while a byte follows them, so every block ends in a blank.
  for (; i + 32 < bytes.size(); i += 32, out += 96) {
    const __m256i value = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes.data() + i));
    const __m256i high =
        _mm256_shuffle_epi8(digits, _mm256_and_si256(_mm256_srli_epi16(value, 4), nibble));
    const __m256i low = _mm256_shuffle_epi8(digits, _mm256_and_si256(value, nibble));
    const __m256i first = _mm256_unpacklo_epi8(high, low);   // bytes 0..7 of each lane
    const __m256i second = _mm256_unpackhi_epi8(high, low);  // bytes 8..15 of each lane
    const __m256i out0 = _mm256_or_si256(_mm256_shuffle_epi8(first, lowTo0), blanks0);
    const __m256i out1 = _mm256_or_si256(
        _mm256_or_si256(_mm256_shuffle_epi8(first, lowTo1), _mm256_shuffle_epi8(second, highTo1)),
        blanks1);
    const __m256i out2 = _mm256_or_si256(_mm256_shuffle_epi8(second, highTo2), blanks2);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out),
                        _mm256_permute2x128_si256(out0, out1, 0x20));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 32),
                        _mm256_permute2x128_si256(out2, out0, 0x30));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 64),
                        _mm256_permute2x128_si256(out1, out2, 0x31));
  }
  WriteDumpScalar(bytes.subspan(i), out);
}
#endif

void WriteDump(std::span<const uint8_t> bytes, char* out) {
  if (bytes.empty()) return;
#if defined(__x86_64__) || defined(__i386__)
  static const bool avx2 = __builtin_cpu_supports("avx2");
  if (avx2) return WriteDumpAvx2(bytes, out);
#endif
  WriteDumpScalar(bytes, out);
}

// The passes one after the other, as the templates are defined.
std::string SubstituteInPasses(std::string_view Template, std::initializer_list<TextValue> values) {
  std::string text(Template);
  int index = 0;
  for (const TextValue& value : values) {
    // Not "%" + to_string(): GCC 12 at -O3 warns wrongly (-Wrestrict) about it.
    std::string placeholder = std::to_string(++index);
    placeholder.insert(placeholder.begin(), '%');
    std::string next;
    size_t from = 0;
    for (size_t at = text.find(placeholder); at != std::string::npos;
         at = text.find(placeholder, from)) {
      next.append(text, from, at - from);
      next.append(value.View());
      from = at + placeholder.size();
    }
    next.append(text, from);
    text = std::move(next);
  }
  return text;
}

// When no value holds a "%", no template has "%%" and there are at most nine
// values, no pass can make a placeholder for a later one, and one left-to-right
// pass gives the same text. Log lines always qualify, so a 64 KiB data dump is
// copied once instead of once per pass.
bool OnePassIsExact(std::string_view Template, std::initializer_list<TextValue> values) {
  if (values.size() > 9 || Template.find("%%") != std::string_view::npos) return false;
  for (const TextValue& value : values) {
    if (value.HoldsPercent()) return false;
  }
  return true;
}

}  // namespace

std::string FTBufferText(std::span<const uint8_t> bytes) {
  std::string text(DumpSize(bytes), ' ');
  WriteDump(bytes, text.data());
  return text;
}

std::string_view TextValue::View() const {
  if (isDump_ && !owns_) {
    owned_ = FTBufferText(dump_);
    owns_ = true;
  }
  return owns_ ? std::string_view(owned_) : view_;
}

size_t TextValue::Size() const {
  return isDump_ ? DumpSize(dump_) : View().size();
}

void TextValue::WriteTo(char* out) const {
  if (isDump_) {
    WriteDump(dump_, out);
  } else {
    const std::string_view text = View();
    std::memcpy(out, text.data(), text.size());
  }
}

// Hex digits and blanks never do.
bool TextValue::HoldsPercent() const {
  return !isDump_ && View().find('%') != std::string_view::npos;
}

std::string TextSubstitute(std::string_view Template, std::initializer_list<TextValue> values) {
  if (!OnePassIsExact(Template, values)) return SubstituteInPasses(Template, values);

  const TextValue* const value = values.begin();
  // Walks the template once: literal text goes to `literal` as a view, each
  // placeholder that has a value to `placeholder` as that value's index. The first
  // walk counts the exact size, the second writes.
  const auto walk = [&](auto&& literal, auto&& placeholder) {
    size_t from = 0;
    for (size_t at = Template.find('%'); at != std::string_view::npos;
         at = Template.find('%', at + 1)) {
      if (at + 1 >= Template.size()) break;
      const size_t index = static_cast<unsigned char>(Template[at + 1]) - '1';
      if (index >= values.size()) continue;
      literal(Template.substr(from, at - from));
      placeholder(index);
      from = at + 2;
    }
    literal(Template.substr(from));
  };

  size_t size = 0;
  walk([&](std::string_view text) { size += text.size(); },
       [&](size_t index) { size += value[index].Size(); });
  std::string text(size, '\0');
  char* out = text.data();
  walk(
      [&](std::string_view literal) {
        std::memcpy(out, literal.data(), literal.size());
        out += literal.size();
      },
      [&](size_t index) {
        value[index].WriteTo(out);
        out += value[index].Size();
      });
  return text;
}

std::string HexText64(uint64_t Value, int16_t Width) {
  char digits[16];
  int count = 0;
  do {
    digits[count++] = kHexDigits[Value & 0xF];
    Value >>= 4;
  } while (Value != 0);
  std::string text;
  if (Width > count) text.assign(Width - count, '0');
  while (count > 0) text.push_back(digits[--count]);
  return text;
}

std::string HexText(int32_t Value, int16_t Width) {
  return HexText64(static_cast<uint32_t>(Value), Width);
}

std::string ErrorText(int32_t Number, std::string_view Description) {
  std::string text = "ERROR";
  if (Number != 0) {
    text += ' ';
    if ((Number & kObjectErrorBase) == 0) {
      text += std::to_string(Number);
    } else {
      text += '!';
      text += std::to_string(static_cast<int64_t>(Number) - kObjectErrorBase);
    }
  }
  if (!Description.empty()) {
    text += ": ";
    text += Description;
  }
  return text;
}

}  // namespace brevant
