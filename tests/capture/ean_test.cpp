// EAN and UPC codes drawn from their definition and spoilt like photographs, and what must not be
// read.
#include "modules/code_reader/ean_search.h"
#include "modules/code_reader/gs1.h"
#include "tests/support/test.h"

namespace velmora::modules {

using namespace kit;

namespace {

// Modules of the digits in the left half with odd parity; 1 is dark.
constexpr const char* kOdd[] = {"0001101", "0011001", "0010011", "0111101", "0100011",
                                "0110001", "0101111", "0111011", "0110111", "0001011"};

// 'o' odd, 'e' even: mirrored and inverted; 'r' the right half: inverted.
std::string Digit(char digit, char how) {
  std::string modules = kOdd[digit - '0'];
  if (how == 'e') std::reverse(modules.begin(), modules.end());
  if (how != 'o') {
    for (char& module : modules) module = module == '0' ? '1' : '0';
  }
  return modules;
}

std::string Digits(const std::string& digits, const std::string& parity) {
  std::string modules;
  for (std::size_t i = 0; i < digits.size(); ++i) modules += Digit(digits[i], parity[i]);
  return modules;
}

std::string AddOn(const std::string& digits, const std::string& parity) {
  std::string modules = "1011";
  for (std::size_t i = 0; i < digits.size(); ++i) {
    modules += (i == 0 ? "" : "01") + Digit(digits[i], parity[i]);
  }
  return modules;
}

std::string Halves(const std::string& left, const std::string& parity, const std::string& right) {
  return "101" + Digits(left, parity) + "01010" + Digits(right, "rrrrrr") + "101";
}

const std::string kQuiet(9, '0');
const std::string kEan13 = Halves("006381", "oeooee", "333931");
const std::string kUpcE = "101" + Digits("123456", "eooeeo") + "010101";
const std::string kUpcA = Halves("036000", "oooooo", "291452");

// How a code is drawn: pixels per module, ink that spreads, blur, levels, noise.
struct Camera {
  double module = 3;
  double spread = 0;  // how much wider dark bars are, in modules
  int blur = 0;       // how often neighbours are averaged
  int light = 220;
  int dark = 30;
  int noise = 0;
};

GreyImage Draw(const std::string& modules, const Camera& camera) {
  const auto width = static_cast<int>(camera.module * static_cast<double>(modules.size()));
  GreyImage image(width, 40);
  std::vector<double> ink(static_cast<std::size_t>(width));
  for (int x = 0; x < width; ++x) {
    for (int part = 0; part < 8; ++part) {
      const double at = (x + (part + 0.5) / 8) / camera.module;
      const auto dark = [&](double place) {
        return place >= 0 && place < static_cast<double>(modules.size()) &&
               modules[static_cast<std::size_t>(place)] == '1';
      };
      const int darkEnds = int{dark(at - camera.spread / 2)} + int{dark(at + camera.spread / 2)};
      ink[static_cast<std::size_t>(x)] += darkEnds > (camera.spread < 0 ? 1 : 0) ? 0.125 : 0;
    }
  }
  for (int round = 0; round < camera.blur; ++round) {
    std::vector<double> blurred = ink;
    for (std::size_t x = 1; x + 1 < ink.size(); ++x) {
      blurred[x] = (ink[x - 1] + 2 * ink[x] + ink[x + 1]) / 4;
    }
    ink = blurred;
  }
  std::mt19937 random(3);
  for (int y = 0; y < image.height; ++y) {
    for (int x = 0; x < width; ++x) {
      const double level =
          camera.light + (camera.dark - camera.light) * ink[static_cast<std::size_t>(x)];
      const int noise =
          static_cast<int>(random() % static_cast<unsigned>(std::max(1, 2 * camera.noise)));
      image.Row(y)[x] = static_cast<std::uint8_t>(
          std::clamp(static_cast<int>(level) + noise - camera.noise, 0, 255));
    }
  }
  return image;
}

GreyImage TurnedRight(const GreyImage& image) {
  GreyImage turned(image.height, image.width);
  for (int y = 0; y < image.height; ++y) {
    for (int x = 0; x < image.width; ++x) turned.Row(x)[image.height - 1 - y] = image.Row(y)[x];
  }
  return turned;
}

// The texts in the order of the alphabet.
std::string Read(const GreyImage& image) {
  std::set<std::string> texts;
  for (const EanCode& code : FindEan(image.View(), [] { return false; })) {
    texts.insert(code.digits + (code.addOn.empty() ? "" : "+" + code.addOn));
  }
  std::string list;
  for (const std::string& text : texts) list += (list.empty() ? "" : ",") + text;
  return list;
}

TEST(FindEan, ReadsEachKind) {
  struct Row {
    const char* name;
    std::string modules;
    const char* want;
  };
  for (const Row& row : {
           Row{"EAN-13", kEan13, "4006381333931"},
           Row{"UPC-A", kUpcA, "0036000291452"},
           Row{"EAN-8", Halves("9638", "oooo", "5074"), "96385074"},
           Row{"UPC-E", kUpcE, "01234565"},
           Row{"UPC-E of number system 1", "101" + Digits("123456", "ooeeoe") + "010101",
               "11234562"},
           Row{"two digits more", kEan13 + kQuiet + AddOn("12", "oo"), "4006381333931+12"},
           Row{"five digits more", kUpcA + kQuiet + AddOn("52595", "oeeoo"), "0036000291452+52595"},
           Row{"an add-on of wrong parity", kEan13 + kQuiet + AddOn("12", "oe"), "4006381333931"},
           Row{"a wrong check digit", Halves("006381", "oeooee", "333932"), ""},
           Row{"impossible parities", Halves("006381", "eeeeee", "333931"), ""},
           Row{"two codes", kEan13 + kQuiet + kQuiet + kUpcA, "0036000291452,4006381333931"},
       }) {
    SCOPED_TRACE(row.name);
    GreyImage image = Draw(kQuiet + row.modules + kQuiet, {});
    EXPECT_EQ(Read(image), row.want);
    EXPECT_EQ(Read(TurnedRight(image)), row.want) << "along columns";
    for (auto& pixel : image.pixels) pixel = static_cast<std::uint8_t>(255 - pixel);
    EXPECT_EQ(Read(image), row.want) << "inverted";
  }
}

TEST(FindEan, ReadsWhatCamerasSpoil) {
  for (const Camera& camera : {
           Camera{1.6},                 // few pixels
           Camera{100},                 // many
           Camera{3, 0.6},              // much ink
           Camera{3, -0.4, 4},          // little ink, out of focus
           Camera{3, 0, 6},             // out of focus
           Camera{3, 0, 1, 120, 110},   // hardly any contrast
           Camera{4, 0, 1, 180, 60, 5}  // noise
       }) {
    SCOPED_TRACE(::testing::Message()
                 << camera.module << " " << camera.spread << " " << camera.blur);
    EXPECT_EQ(Read(Draw(kQuiet + kEan13 + kQuiet, camera)), "4006381333931");
  }
}

// A line that leaves an EAN-13 code through its side may see a whole UPC-E in its left half.
TEST(FindEan, TrustsNoSingleLineOfAShortCode) {
  const GreyImage whole = Draw(kQuiet + kUpcE + kQuiet, {});
  for (int y = 0; y < whole.height; ++y) {
    GreyImage image = whole;
    std::fill(image.pixels.begin(), image.pixels.end(), std::uint8_t{220});
    std::copy_n(whole.Row(y), whole.width, image.Row(y));
    EXPECT_EQ(Read(image), "") << y;
  }
}

TEST(FindEan, SeesNothingInNoise) {
  std::mt19937 random(5);
  for (int round = 0; round < 20; ++round) {
    GreyImage image(400, 300);
    const int size = 1 + round % 5;  // streaks of that many pixels
    for (int y = 0; y < image.height; ++y) {
      for (int x = 0; x < image.width; ++x) {
        image.Row(y)[x] = x % size == 0 ? static_cast<std::uint8_t>(random()) : image.Row(y)[x - 1];
      }
    }
    EXPECT_EQ(Read(image), "") << "round " << round;
  }
}

TEST(FindEan, TellsWhereACodeIs) {
  const std::vector<EanCode> codes =
      FindEan(Draw(kQuiet + kEan13 + kQuiet, {}).View(), [] { return false; });
  ASSERT_EQ(codes.size(), 1U);
  const Corner& leftTop = codes[0].corners[0];
  const Corner& rightBottom = codes[0].corners[2];
  EXPECT_NEAR(leftTop[0], 27, 1);
  EXPECT_NEAR(rightBottom[0], 27 + 95 * 3, 1);
  EXPECT_LT(leftTop[1], 8);
  EXPECT_GT(rightBottom[1], 32);
}

TEST(IsGs1, KnowsLengthsAndDigits) {
  for (const char* text : {"0109501101530003", "010950110153000310LOT\03517261231", "3103001750"}) {
    EXPECT_TRUE(IsGs1(text)) << text;
  }
  for (const char* text : {"010950110153000", "01O9501101530003", "10LOT\0351235KA", "", "X0123"}) {
    EXPECT_FALSE(IsGs1(text)) << text;
  }
}

}  // namespace
}  // namespace velmora::modules
