// Font measuring: the installed source, the library's own source over the
// machine's fonts (fontconfig finds the file, FreeType reads its tables), the
// size-derived estimate, and the cache in front of them.
#include "core/FontMetrics.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <mutex>
#include <string>
#include <tuple>

#ifdef CHARTCALC_HAVE_FONTS
#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_TRUETYPE_TABLES_H

#include <memory>
#include <optional>

#include "core/Cp949.h"
#include "core/TextCodec.h"
#endif

namespace chartcalc {

FontMetricSource::~FontMetricSource() = default;

}  // namespace chartcalc

using namespace chartcalc;
using namespace chartcalc::detail;

namespace {

constexpr int kDpi = 96;
constexpr int kTenthsPerInch = 720;  // 72 points of ten tenths
// Larger sizes are taken as this one: no screen font is a thousand points.
constexpr int kMaxTenths = 10000;
constexpr int kRegularWeight = 400;
constexpr int kBoldWeight = 700;
// Proportions of the em square in a typical Hangul-capable sans-serif face,
// for the estimate from the size alone.
constexpr double kAscentPerEm = 0.92;
constexpr double kDescentPerEm = 0.23;
constexpr double kAveWidthPerEm = 0.5;
constexpr double kMaxWidthPerEm = 1.0;  // Hangul syllables are a full em wide
// More distinct faces and sizes than any host uses; past it the cache starts
// over, so archives with ever new font names cannot grow it without bound.
constexpr size_t kMaxCachedFonts = 256;

int Round(double v) { return static_cast<int>(std::lround(v)); }

}  // namespace

int chartcalc::detail::EmPixels(int tenthsOfPoint) {
  const int tenths = std::clamp(tenthsOfPoint, 0, kMaxTenths);
  return (tenths * kDpi + kTenthsPerInch / 2) / kTenthsPerInch;
}

TextMetrics chartcalc::detail::SizeDerivedMetrics(int tenthsOfPoint, int charset) {
  const int em = EmPixels(tenthsOfPoint);
  TextMetrics m;
  m.Ascent = Round(em * kAscentPerEm);
  m.Descent = Round(em * kDescentPerEm);
  m.Height = m.Ascent + m.Descent;
  m.InternalLeading = std::max(0, m.Height - em);
  m.AveCharWidth = Round(em * kAveWidthPerEm);
  m.MaxCharWidth = Round(em * kMaxWidthPerEm);
  m.Weight = kRegularWeight;
  m.CharSet = charset;
  return m;
}

#ifdef CHARTCALC_HAVE_FONTS
namespace {

constexpr FcChar32 kHangulSyllableGa = 0xAC00;
constexpr FT_UShort kNoOs2Table = 0xFFFF;

struct PatternFree {
  void operator()(FcPattern* p) const { FcPatternDestroy(p); }
};
using Pattern = std::unique_ptr<FcPattern, PatternFree>;

struct FontFile {
  std::string path;
  int index = 0;
  std::string family;  // UTF-8
};

bool HasFamily(FcPattern* font, const std::string& family) {
  FcChar8* name = nullptr;
  for (int i = 0; FcPatternGetString(font, FC_FAMILY, i, &name) == FcResultMatch; ++i)
    if (FcStrCmpIgnoreCase(name, reinterpret_cast<const FcChar8*>(family.c_str())) == 0) return true;
  return false;
}

bool HasHangul(FcPattern* font) {
  FcCharSet* chars = nullptr;
  return FcPatternGetCharSet(font, FC_CHARSET, 0, &chars) == FcResultMatch &&
         FcCharSetHasChar(chars, kHangulSyllableGa);
}

// The file of a matched font; family, when given, must be one of its names.
std::optional<FontFile> FileOf(FcPattern* font, const std::string& family) {
  if (family.empty() ? !HasHangul(font) : !HasFamily(font, family)) return std::nullopt;
  FcChar8* path = nullptr;
  if (FcPatternGetString(font, FC_FILE, 0, &path) != FcResultMatch) return std::nullopt;
  FontFile file;
  file.path = reinterpret_cast<const char*>(path);
  FcPatternGetInteger(font, FC_INDEX, 0, &file.index);
  FcChar8* name = nullptr;
  if (FcPatternGetString(font, FC_FAMILY, 0, &name) == FcResultMatch) file.family = reinterpret_cast<char*>(name);
  return file;
}

// TrueType and OpenType fonts: ascent and descent from the OS/2 table's
// Windows values, line gap from the horizontal header, scaled to the em.
bool FromTables(FT_Face face, int em, TextMetrics& m) {
  const auto* os2 = static_cast<const TT_OS2*>(FT_Get_Sfnt_Table(face, FT_SFNT_OS2));
  const auto* hhea = static_cast<const TT_HoriHeader*>(FT_Get_Sfnt_Table(face, FT_SFNT_HHEA));
  if (os2 == nullptr || os2->version == kNoOs2Table || hhea == nullptr || face->units_per_EM == 0) return false;
  const double scale = static_cast<double>(em) / face->units_per_EM;
  m.Ascent = Round(os2->usWinAscent * scale);
  m.Descent = Round(os2->usWinDescent * scale);
  m.Height = m.Ascent + m.Descent;
  m.InternalLeading = std::max(0, m.Height - em);
  const int winSpan = os2->usWinAscent + os2->usWinDescent;
  const int headerSpan = hhea->Ascender - hhea->Descender;
  m.ExternalLeading = std::max(0, Round((hhea->Line_Gap - (winSpan - headerSpan)) * scale));
  m.AveCharWidth = Round(os2->xAvgCharWidth * scale);
  m.MaxCharWidth = Round(hhea->advance_Width_Max * scale);
  m.Weight = os2->usWeightClass != 0 ? os2->usWeightClass : kRegularWeight;
  return true;
}

// Other scalable fonts: FreeType's own size metrics (26.6 fixed point).
bool FromSizeMetrics(FT_Face face, int em, TextMetrics& m) {
  if (FT_Set_Pixel_Sizes(face, 0, static_cast<FT_UInt>(em)) != 0) return false;
  const FT_Size_Metrics& s = face->size->metrics;
  auto pixels = [](FT_Pos v) { return static_cast<int>((v + 63) >> 6); };
  m.Ascent = pixels(s.ascender);
  m.Descent = pixels(-s.descender);
  m.Height = m.Ascent + m.Descent;
  m.InternalLeading = std::max(0, m.Height - em);
  m.ExternalLeading = std::max(0, pixels(s.height) - m.Height);
  m.MaxCharWidth = pixels(s.max_advance);
  m.AveCharWidth = Round(em * kAveWidthPerEm);
  m.Weight = (face->style_flags & FT_STYLE_FLAG_BOLD) != 0 ? kBoldWeight : kRegularWeight;
  return true;
}

// The machine's fonts. The face is looked up by name; when no font has that
// name, any font with Hangul stands in, as the Korean character set asks.
class InstalledFonts final : public FontMetricSource {
 public:
  InstalledFonts() : config_(FcInitLoadConfigAndFonts()) {
    if (FT_Init_FreeType(&freetype_) != 0) freetype_ = nullptr;
  }
  ~InstalledFonts() override {
    if (freetype_ != nullptr) FT_Done_FreeType(freetype_);
    if (config_ != nullptr) FcConfigDestroy(config_);
  }
  InstalledFonts(const InstalledFonts&) = delete;
  InstalledFonts& operator=(const InstalledFonts&) = delete;

  TextMetrics Measure(const SString& face, int tenthsOfPoint, int charset) override {
    const int em = EmPixels(tenthsOfPoint);
    std::optional<FontFile> file;
    if (em > 0 && config_ != nullptr && freetype_ != nullptr) file = Find(face);
    TextMetrics m;
    if (!file || !Read(*file, em, m)) return SizeDerivedMetrics(tenthsOfPoint, charset);
    m.CharSet = charset;
    m.FaceName = Cp949FromUtf8Lossy(file->family);
    return m;
  }

 private:
  std::optional<FontFile> Find(const SString& face) {
    std::string utf8;
    if (!Cp949ToUtf8(face.str(), utf8)) utf8 = Cp949ToUtf8Lossy(face.str());
    if (!utf8.empty()) {
      Pattern named(FcPatternCreate());
      FcPatternAddString(named.get(), FC_FAMILY, reinterpret_cast<const FcChar8*>(utf8.c_str()));
      if (auto file = Match(std::move(named), utf8)) return file;
    }
    Pattern hangul(FcPatternCreate());
    FcCharSet* chars = FcCharSetCreate();
    FcCharSetAddChar(chars, kHangulSyllableGa);
    FcPatternAddCharSet(hangul.get(), FC_CHARSET, chars);
    FcCharSetDestroy(chars);
    return Match(std::move(hangul), "");
  }

  std::optional<FontFile> Match(Pattern pattern, const std::string& family) {
    FcPatternAddBool(pattern.get(), FC_SCALABLE, FcTrue);
    FcConfigSubstitute(config_, pattern.get(), FcMatchPattern);
    FcDefaultSubstitute(pattern.get());
    FcResult result = FcResultNoMatch;
    Pattern font(FcFontMatch(config_, pattern.get(), &result));
    if (!font) return std::nullopt;
    return FileOf(font.get(), family);
  }

  bool Read(const FontFile& file, int em, TextMetrics& m) {
    FT_Face face = nullptr;
    if (FT_New_Face(freetype_, file.path.c_str(), file.index, &face) != 0) return false;
    const bool ok = FromTables(face, em, m) || FromSizeMetrics(face, em, m);
    FT_Done_Face(face);
    return ok;
  }

  FcConfig* config_;
  FT_Library freetype_ = nullptr;
};

}  // namespace
#else
namespace {

// Built without fontconfig and FreeType: every size gets the estimate.
class InstalledFonts final : public FontMetricSource {
 public:
  TextMetrics Measure(const SString&, int tenthsOfPoint, int charset) override {
    return SizeDerivedMetrics(tenthsOfPoint, charset);
  }
};

}  // namespace
#endif

namespace {

using CacheKey = std::tuple<std::string, int, int>;

// The installed source and what it measured. The lock also keeps the
// library's own source to one thread at a time, as FreeType requires.
struct Registry {
  std::mutex mutex;
  FontMetricSource* host = nullptr;
  std::map<CacheKey, TextMetrics> cache;
};

Registry& TheRegistry() {
  static Registry registry;
  return registry;
}

FontMetricSource& OwnSource() {
  static InstalledFonts source;
  return source;
}

}  // namespace

TextMetrics chartcalc::detail::MeasureFont(const SString& face, int tenthsOfPoint, int charset) {
  Registry& r = TheRegistry();
  std::lock_guard<std::mutex> hold(r.mutex);
  CacheKey key{face.str(), tenthsOfPoint, charset};
  if (auto it = r.cache.find(key); it != r.cache.end()) return it->second;
  if (r.cache.size() >= kMaxCachedFonts) r.cache.clear();
  FontMetricSource& source = r.host != nullptr ? *r.host : OwnSource();
  return r.cache.emplace(std::move(key), source.Measure(face, tenthsOfPoint, charset)).first->second;
}

FontMetricSource* chartcalc::SetFontMetricSource(FontMetricSource* source) {
  Registry& r = TheRegistry();
  std::lock_guard<std::mutex> hold(r.mutex);
  FontMetricSource* before = r.host;
  r.host = source;
  r.cache.clear();
  return before;
}
