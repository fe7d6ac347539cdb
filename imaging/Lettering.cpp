#include "imaging/Lettering.h"

#include "MediaConversion/MediaFile/FileNames.h"

#include <ft2build.h>
#include FT_FREETYPE_H

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <mutex>
#include <numeric>

namespace Imaging {

namespace {

// Where the systems that have the font keep it.
constexpr const char* fontFiles[] = {
    "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf",    // Debian, Ubuntu
    "/usr/share/fonts/dejavu-sans-fonts/DejaVuSans.ttf",  // Fedora, Rocky
    "/usr/share/fonts/dejavu/DejaVuSans.ttf",             // SUSE, Alpine
    "/usr/share/fonts/TTF/DejaVuSans.ttf",                // Arch
};

// A font's letters. One thread at a time uses it.
class Font
{
public:
    Font()
    {
        FT_Library library = nullptr;
        if (FT_Init_FreeType(&library) == 0)
            for (const auto* const file : fontFiles)
                if (!m_face && FT_New_Face(library, file, 0, &m_face) != 0)
                    m_face = nullptr;
    }

    bool isFound() const { return m_face != nullptr; }
    bool has(char32_t letter) const { return FT_Get_Char_Index(m_face, letter) != 0; }

    // Null where the font's file is damaged.
    FT_GlyphSlot load(char32_t letter, int size, FT_Int32 flags)
    {
        const bool isLoaded = FT_Set_Pixel_Sizes(m_face, 0, static_cast<FT_UInt>(size)) == 0 &&
                              FT_Load_Char(m_face, letter, flags) == 0;
        return isLoaded ? m_face->glyph : nullptr;
    }

    std::mutex mutex;

private:
    FT_Face m_face = nullptr;
};

// Never destroyed, as other threads may still draw when the program ends.
Font& font()
{
    static auto& font = *new Font;
    return font;
}

constexpr int strokeFont = cv::FONT_HERSHEY_SIMPLEX;

double strokeScale(int size)
{
    return size / 30.0;
}

bool isPlain(char32_t letter)
{
    return U' ' <= letter && letter <= U'~';
}

std::string stroke(char32_t letter)
{
    return std::string(1, static_cast<char>(letter));
}

// How far the next letter stands from this one.
int advanceOf(char32_t letter, int size)
{
    if (!font().isFound())
        return cv::getTextSize(stroke(letter), strokeFont, strokeScale(size), 1, nullptr).width;
    const std::lock_guard lock(font().mutex);
    const auto* const glyph = font().load(letter, size, FT_LOAD_DEFAULT);
    return glyph ? static_cast<int>(glyph->advance.x >> 6) : 0;
}

// Draws what of the letter lies on the canvas.
void drawLetter(cv::Mat& canvas, char32_t letter, cv::Point position, int size, int grey)
{
    const std::lock_guard lock(font().mutex);
    const auto* const glyph = font().load(letter, size, FT_LOAD_RENDER);
    if (!glyph)
        return;
    const auto& bitmap = glyph->bitmap;
    const cv::Rect place(position.x + glyph->bitmap_left, position.y - glyph->bitmap_top,
                         static_cast<int>(bitmap.width), static_cast<int>(bitmap.rows));
    const auto shown = place & cv::Rect({}, canvas.size());
    for (int row = shown.y; row < shown.br().y; ++row)
        for (int column = shown.x; column < shown.br().x; ++column) {
            const int share = bitmap.buffer[(row - place.y) * bitmap.pitch + (column - place.x)];
            for (auto& value : canvas.at<cv::Vec3b>(row, column).val)
                value = static_cast<unsigned char>((value * (255 - share) + grey * share) / 255);
        }
}

const Letters& ellipsis()
{
    static const auto& letters = *new Letters(lettersOf("\u2026") == U"?" ? U"..." : U"\u2026");
    return letters;
}

}

Letters lettersOf(const std::string& text)
{
    Letters letters;
    for (const auto character : MediaConversion::wideFileName(text)) {
        const auto letter = static_cast<char32_t>(character);
        const std::lock_guard lock(font().mutex);
        const bool isDrawn = isPlain(letter) || (font().isFound() && font().has(letter));
        letters += isDrawn ? letter : U'?';
    }
    return letters;
}

int widthOf(const Letters& letters, int size)
{
    return std::accumulate(letters.begin(), letters.end(), 0, [size](int width, char32_t letter) {
        return width + advanceOf(letter, size);
    });
}

void drawText(cv::Mat& canvas, const Letters& letters, cv::Point position, int size, int grey)
{
    for (const auto letter : letters) {
        if (font().isFound())
            drawLetter(canvas, letter, position, size, grey);
        else
            cv::putText(canvas, stroke(letter), position, strokeFont, strokeScale(size),
                        cv::Scalar::all(grey), 1, cv::LINE_AA);
        position.x += advanceOf(letter, size);
    }
}

Letters shortened(const Letters& letters, int size, int width)
{
    std::vector<int> advances;
    for (const auto letter : letters)
        advances.push_back(advanceOf(letter, size));
    int total = std::accumulate(advances.begin(), advances.end(), 0);
    if (total <= width)
        return letters;
    total += widthOf(ellipsis(), size);
    // From the middle outwards; the end keeps as many letters as the beginning, or one more.
    auto first = letters.size() / 2;
    auto end = first;
    while (total > width && (first > 0 || end < letters.size()))
        total -= first >= letters.size() - end ? advances[--first] : advances[end++];
    return letters.substr(0, first) + ellipsis() + letters.substr(end);
}

std::vector<Letters> wrapped(const Letters& letters, int size, int width, std::size_t lines)
{
    std::vector<Letters> result;
    auto rest = letters;
    while (!rest.empty() && result.size() + 1 < lines) {
        std::size_t count = 0;
        for (int total = 0; count < rest.size(); ++count)
            if ((total += advanceOf(rest[count], size)) > width)
                break;
        const bool isLast = count == rest.size();
        const auto blank = isLast ? Letters::npos : rest.rfind(U' ', count);
        const bool breaksAtBlank = blank != Letters::npos && blank > 0;
        const auto length = breaksAtBlank ? blank : std::max<std::size_t>(count, 1);
        result.push_back(rest.substr(0, length));
        rest.erase(0, length + (breaksAtBlank ? 1 : 0));
    }
    if (!rest.empty())
        result.push_back(shortened(rest, size, width));
    return result;
}

}
