// A set of small integers that always knows its lowest member.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace velmora::internal {

// One bit a member; above each layer of words a layer with one bit for each of its words that is
// not zero, up to a single word. Every operation touches at most one word a layer: one layer serves
// 64 members, three serve 262,144.
class LowestIndex {
 public:
  static constexpr std::uint32_t kNone = UINT32_MAX;

  // Makes room for the members below `end`; the other operations allocate nothing.
  void Grow(std::uint32_t end) {
    for (std::size_t depth = 0, words = 0; words != 1; ++depth) {
      words = depth == 0 ? WordsFor(end) : WordsFor(layers_[depth - 1].size());
      if (depth == layers_.size()) {
        // What was the top had one word: the new layer covers it with its first bit.
        const bool used = depth != 0 && layers_[depth - 1][0] != 0;
        layers_.emplace_back(1, used ? 1U : 0U);
      }
      if (words > layers_[depth].size()) layers_[depth].resize(words, 0);
      words = layers_[depth].size();
    }
  }

  void Insert(std::uint32_t member) {
    for (Layer& layer : layers_) {
      std::uint64_t& word = layer[member / kWordBits];
      const bool isCovered = word != 0;
      word |= Bit(member);
      if (isCovered) return;
      member /= kWordBits;
    }
  }

  void Erase(std::uint32_t member) {
    for (Layer& layer : layers_) {
      std::uint64_t& word = layer[member / kWordBits];
      word &= ~Bit(member);
      if (word != 0) return;
      member /= kWordBits;
    }
  }

  std::uint32_t Lowest() const {
    if (layers_.empty() || layers_.back()[0] == 0) return kNone;
    std::uint32_t member = 0;
    for (auto layer = layers_.rbegin(); layer != layers_.rend(); ++layer) {
      member = member * kWordBits + LowestBit((*layer)[member]);
    }
    return member;
  }

 private:
  using Layer = std::vector<std::uint64_t>;
  static constexpr unsigned kWordBits = 64;

  static std::size_t WordsFor(std::size_t bits) {
    return bits == 0 ? 1 : (bits - 1) / kWordBits + 1;
  }
  static std::uint64_t Bit(std::uint32_t member) {
    return std::uint64_t{1} << (member % kWordBits);
  }
  static std::uint32_t LowestBit(std::uint64_t word) {
    return static_cast<std::uint32_t>(__builtin_ctzll(word));
  }

  std::vector<Layer> layers_;  // the members themselves first; the last has one word
};

}  // namespace velmora::internal
