#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

// The SDK as far as a reader calls it and a host drives a reader.
namespace DD::Image {

enum Channel : unsigned
{
    Chan_Black = 0,
    Chan_Red = 1,
    Chan_Green = 2,
    Chan_Blue = 3,
    Chan_Alpha = 4,
};

// Bit n - 1 stands for channel n.
enum ChannelSetInit : unsigned
{
    Mask_None = 0,
    Mask_RGBA = 15,
};

class ChannelSet
{
public:
    constexpr ChannelSet(ChannelSetInit mask = Mask_None) : m_mask(mask) {}

    bool operator==(const ChannelSet&) const = default;

private:
    unsigned m_mask;
};

using ChannelMask = const ChannelSet&;

// What the host knows of a picture before it asks for rows.
class IopInfo
{
public:
    int width() const { return m_width; }
    int height() const { return m_height; }
    ChannelMask channels() const { return m_channels; }

    void size(int width, int height)
    {
        m_width = width;
        m_height = height;
    }

    void channels(ChannelMask channels) { m_channels = channels; }

private:
    int m_width = 0;
    int m_height = 0;
    ChannelSet m_channels;
};

// The host's end of a panel: each call creates one knob in it.
class Knob_Closure
{
public:
    virtual ~Knob_Closure() = default;

    virtual void operator()(int type, int store, void* pointer, const char* name, const char* label,
                            const char* extra) = 0;
};

// A node of the host's picture graph.
class Op
{
public:
    Op() = default;
    Op(const Op&) = delete;
    Op& operator=(const Op&) = delete;
    virtual ~Op();

    // Reports a failure to the user. The arguments are those of printf.
    void critical(const char* format, ...) __attribute__((format(printf, 2, 3)));

protected:
    // Called with each finished message, on the thread that reports it. Standard error unless the
    // host says otherwise.
    virtual void onCritical(const std::string& message);
};

// The node that reads files. The host derives from it and names the file.
class Read : public Op
{
public:
    ~Read() override;

    // Null while no file is chosen.
    virtual const char* filename() const = 0;
};

// The columns x to r - 1 of one picture row, channel by channel.
class Row
{
public:
    Row(int x, int r);

    int x() const { return m_x; }
    int r() const { return m_r; }

    // Pointers that are indexed by the column: valid from [x] to [r - 1].
    float* writable(Channel channel);
    const float* operator[](Channel channel) const;

private:
    int m_x;
    int m_r;
    std::array<std::vector<float>, Chan_Alpha + 1> m_channels;
};

// Adds a file format's own knobs to the panel of the read operator.
class ReaderFormat
{
public:
    virtual void knobs(Knob_Closure& closure);
    virtual ~ReaderFormat();
};

// Reads the pictures of one file on behalf of a read operator. The host constructs a reader, opens
// it and then asks for rows, also from several threads at once.
class Reader
{
public:
    class Description;

    // The operator may be null: such a reader has no file name.
    explicit Reader(Read* readOperator);
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    virtual ~Reader();

    virtual void open();

    // Writes the columns x to r - 1 of the row y, counted from the bottom.
    virtual void engine(int y, int x, int r, ChannelMask channels, Row& row) = 0;

    const IopInfo& info() const { return info_; }
    int width() const { return info_.width(); }
    int height() const { return info_.height(); }
    int depth() const { return m_depth; }  // bits per sample of the file

protected:
    // Null when there is none.
    const char* filename() const;

    // The pixels of this host are square, whatever their aspect is said to be.
    void set_info(int width, int height, int depth, double pixelAspect = 0.0);

    // Converts `count` samples, `delta` floats apart, from the file's colours to the host's, which
    // are the same in this host. For the same reason `alpha`, by which the file's colours are
    // multiplied unless it is null, changes nothing.
    void from_float(Channel channel, float* to, const float* from, const float* alpha, int count,
                    int delta = 1);

    IopInfo info_;

private:
    Read* m_readOperator;
    int m_depth = 0;
};

// Makes a reader known to the host for as long as the description lives. The texts have to live as
// long.
class Reader::Description
{
public:
    using ReaderConstructor = Reader* (*)(Read* readOperator, int descriptor,
                                          const unsigned char* block, int length);
    using Test = bool (*)(int descriptor, const unsigned char* block, int length);
    using FormatConstructor = ReaderFormat* (*)(Read* readOperator);

    // Each of the names ends with a zero byte, and the list with an empty name.
    Description(const char* names, const char* label, ReaderConstructor constructor, Test test,
                FormatConstructor formatConstructor);
    Description(const Description&) = delete;
    Description& operator=(const Description&) = delete;
    ~Description();

    std::vector<std::string> names() const;
    const char* label() const { return m_label; }

    // What the format registered.
    Reader* newReader(Read* readOperator, int descriptor, const unsigned char* block,
                      int length) const;
    bool accepts(int descriptor, const unsigned char* block, int length) const;
    ReaderFormat* newFormat(Read* readOperator) const;

    // The descriptions that are registered, the latest first.
    static std::vector<const Description*> all();

    // The latest description of that name, or whose test takes the file; null when there is none.
    // The block holds at least three bytes.
    static const Description* find(std::string_view name);
    static const Description* find(int descriptor, const unsigned char* block, int length);

private:
    const char* m_names;
    const char* m_label;
    ReaderConstructor m_constructor;
    Test m_test;
    FormatConstructor m_formatConstructor;
    Description* m_next;
};

}
