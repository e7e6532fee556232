#include "velmora/image/text_block.h"

namespace velmora {

TextBlock::TextBlock() = default;
TextBlock::TextBlock(const TextBlock&) = default;
TextBlock::TextBlock(TextBlock&&) = default;
TextBlock::~TextBlock() = default;
TextBlock& TextBlock::operator=(const TextBlock&) = default;
TextBlock& TextBlock::operator=(TextBlock&&) = default;

}  // namespace velmora
