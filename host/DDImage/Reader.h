#pragma once

#include "DDImage/ChannelSet.h"
#include "DDImage/IopInfo.h"
#include "DDImage/Knobs.h"
#include "DDImage/Op.h"
#include "DDImage/Row.h"

#include <string>
#include <string_view>
#include <vector>

namespace DD::Image {

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

    // A pixel aspect of 0 stands for the host's default, square pixels.
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
