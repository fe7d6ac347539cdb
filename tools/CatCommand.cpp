#include "MediaConversion/Errors.h"
#include "tools/Commands.h"
#include "tools/Files.h"
#include "tools/InputFiles.h"
#include "tools/Losses.h"
#include "tools/OpenFile.h"
#include "tools/Pixmap.h"
#include "tools/ReadAhead.h"
#include "tools/ReadingArguments.h"
#include "tools/Report.h"
#include "tools/StandardFiles.h"

#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace Zeq {

using MediaConversion::fail;

namespace {

struct Options
{
    std::vector<std::string> files;
    std::string bits;
    std::string missing;
    std::string frames;
    bool isForced = false;
    bool clips = false;
    ReadingSettings reading;
    JobSettings jobs;
};

// A picture that is written once or several times.
struct Shot
{
    std::string file;  // none for a black one
    std::size_t times = 1;
};

// What is written, in order, and what is missing.
struct Plan
{
    std::vector<Shot> shots;
    std::vector<Gap> gaps;

    // Fills the gap, which may be at the beginning of a sequence, by the user's choice.
    void add(const Gap& gap, const std::string& choice, std::size_t firstOfSequence)
    {
        gaps.push_back(gap);
        if (choice == "black")
            shots.push_back({"", gap.count});
        else if (shots.size() > firstOfSequence)
            shots.back().times += gap.count;
        else
            m_heldBefore = gap.count;
    }

    void add(const std::string& file)
    {
        shots.push_back({file, 1 + m_heldBefore});
        m_heldBefore = 0;
    }

private:
    std::size_t m_heldBefore = 0;  // how many times more the next picture is written
};

// The frames that were asked for or, where none were, all from the first to the last.
void addSequence(Plan& plan, const FramePattern& sequence, const std::vector<InputFile>& files,
                 const Options& options)
{
    const auto firstOfSequence = plan.shots.size();
    const bool areAskedFor = !options.frames.empty();
    Gap gap;
    const auto fillGap = [&] {
        if (gap.count)
            plan.add(std::exchange(gap, {}), options.missing, firstOfSequence);
    };
    int previous = *files.front().frame;
    for (const auto& file : files) {
        if (areAskedFor && !exists(file.name)) {
            gap = {gap.count ? gap.first : file.name, file.name, gap.count + 1};
            continue;
        }
        if (!areAskedFor)
            gap = gapBetween(sequence, previous, *file.frame);
        previous = *file.frame;
        fillGap();
        plan.add(file.name);
    }
    fillGap();
}

Plan planned(const Options& options)
{
    Plan plan;
    for (const auto& name : options.files) {
        const auto files = inputFiles({name}, options.frames, InFolders::nothing);
        if (!files.front().problem.empty())
            fail(files.front().name, ": ", files.front().problem);
        if (const auto sequence = sequenceOf(name))
            addSequence(plan, *sequence, files, options);
        else
            plan.add(name);
    }
    return plan;
}

struct Shape
{
    cv::Size size;
    int bits;
};

// Of the first picture, as which all are written.
Shape shapeOf(const Plan& plan, const std::string& wantedBits, const ReadingOptions& reading)
{
    const auto first =
        std::ranges::find_if(plan.shots, [](const Shot& shot) { return !shot.file.empty(); });
    const auto file = naming(first->file, [&] { return openFile(first->file, reading); });
    const auto& facts = file->facts();
    naming(first->file, [&] { checkNotEmpty(facts); });
    const bool isDeep =
        wantedBits.empty() ? facts.depth != Imaging::SampleDepth::U8 : wantedBits == "16";
    return {facts.size, isDeep ? 16 : 8};
}

// What was outside 0 to 1 of files, and how many pixels they have.
struct CutOff
{
    Imaging::OutsideValues outside;
    std::uint64_t pixelCount = 0;

    std::string text() const { return cutOffText(outside, pixelCount, false); }
    void add(const CutOff& other)
    {
        outside.add(other.outside);
        pixelCount += other.pixelCount;
    }
};

cv::Mat samplesOf(const Shot& shot, const Shape& shape, const ReadingOptions& reading,
                  CutOff& cutOff, const ReadAhead::Reserve& reserve)
{
    const auto byteCount = pixmapByteCount(shape.size, shape.bits);
    if (shot.file.empty()) {
        reserve(byteCount);
        return blackSamples(shape.size, shape.bits);
    }
    const auto file = openFile(shot.file, reading);
    const auto& facts = file->facts();
    if (facts.size != shape.size)
        fail("has ", facts.size.width, " x ", facts.size.height, " pixels, the first frame has ",
             shape.size.width, " x ", shape.size.height);
    reserve(facts.byteCount + fillingUpByteCount(facts) + byteCount);
    auto samples = pixmapSamples(*file, shape.bits);
    cutOff = {file->outside(), static_cast<std::uint64_t>(facts.size.area())};
    return samples;
}

// Names the first file of which values were cut off, and at the end says how many more there were.
class CutOffReport
{
public:
    explicit CutOffReport(bool isWanted) : m_isWanted(isWanted) {}

    ~CutOffReport()
    {
        if (m_fileCount > 1)
            reportError(std::to_string(m_fileCount) + " files: " + m_all.text());
    }

    CutOffReport(const CutOffReport&) = delete;
    CutOffReport& operator=(const CutOffReport&) = delete;

    void add(const std::string& file, const CutOff& cutOff)
    {
        const auto text = m_isWanted ? cutOff.text() : std::string();
        if (text.empty())
            return;
        m_all.add(cutOff);
        if (m_fileCount++ == 0)
            reportError(file + ": " + text + acceptanceText);
    }

private:
    const bool m_isWanted;
    std::size_t m_fileCount = 0;
    CutOff m_all;
};

// Gives false when nobody reads any more.
bool writePicture(const std::string& header, std::span<const char> samples)
{
    try {
        return writeToOutput(header) && writeToOutput(samples);
    } catch (const std::exception& error) {
        fail("The output could not be written: ", error.what());
    }
}

// Gives false when nobody reads any more.
bool writeShots(const std::vector<Shot>& shots, const Shape& shape, const ReadingOptions& reading,
                const Options& options)
{
    std::vector<CutOff> cutOffs(shots.size());
    CutOffReport report(!options.clips);
    // A pipe that holds more lets both programs run longer before they wait for each other.
    ::fcntl(STDOUT_FILENO, F_SETPIPE_SZ, 1 << 20);
    const auto header = pixmapHeader(shape.size, shape.bits);
    ReadAhead pictures(
        shots.size(), options.jobs, [&](std::size_t index, const ReadAhead::Reserve& reserve) {
            const auto& shot = shots[index];
            return naming(shot.file,
                          [&] { return samplesOf(shot, shape, reading, cutOffs[index], reserve); });
        });
    for (std::size_t index = 0; index < shots.size(); ++index) {
        const auto& shot = shots[index];
        const auto& samples = pictures.next();
        report.add(shot.file, cutOffs[index]);
        const std::span bytes(samples.ptr<char>(), pixmapByteCount(shape.size, shape.bits));
        for (std::size_t time = 0; time < shot.times; ++time)
            if (!writePicture(header, bytes))
                return false;
    }
    return true;
}

int run(const Options& options)
{
    if (::isatty(STDOUT_FILENO) && !options.isForced)
        throw UsageError(
            "pictures are not written to a terminal; pipe them into a program, or use --force");
    const auto reading = options.reading.options();
    const auto plan = planned(options);
    const auto& choice = options.missing;
    for (const auto& gap : plan.gaps)
        if (choice.empty())
            reportError(gap.text());
        else if (!options.jobs.isQuiet)
            reportError(gap.text() +
                        (choice == "hold" ? ", a neighbour is held" : ", black is shown"));
    if (choice.empty() && !plan.gaps.empty())
        return ExitStatus::failure;
    const auto shape = shapeOf(plan, options.bits, reading);
    return writeShots(plan.shots, shape, reading, options) ? ExitStatus::success
                                                           : ExitStatus::failure;
}

}

Command cat()
{
    const auto options = std::make_shared<Options>();
    return {
        .description = sequencesText + R"(
Writes the frames to standard output, one PPM picture (P6) after the other, for a program that makes
a movie of them. Each picture says its size and depth; all have those of the first. Values are
written as they are stored, unless --scale or --exposure multiplies them, and alpha is left out.
What is below 0 or above 1 is cut off: the first file that loses by that is named on the error
stream, also with --quiet, and at the end how many do; --clip accepts it without a word.

  zeq cat shot.####.zeq | ffmpeg -f ppm_pipe -framerate 24 -i - -pix_fmt yuv420p shot.mp4

Where frames between the first and the last are missing, or of those in --frames, these are named
and nothing is written, unless --missing says what takes their place: hold shows the frame before
them again, or the one after them where there is none, and black a black one. A frame that cannot be
read or has another size is named and ends the output.

When the reader goes away, zeq ends without a message: by the signal SIGPIPE, which shells show as
status 141, or with status 1 where that signal is ignored.)",
        .arguments = withJobArguments(
            withReadingArguments(
                {filesArgument(options->files, "media files and other pictures"),
                 {"--bits",
                  "BITS",
                  &options->bits,
                  "8 or 16 (default: 8 where the first file has 8, else 16)",
                  {"8", "16"}},
                 {"--missing",
                  "CHOICE",
                  &options->missing,
                  "what takes the place of missing frames: hold, black",
                  {"hold", "black"}},
                 framesArgument(options->frames),
                 clipArgument(options->clips),
                 {"--force", "", &options->isForced, "write to a terminal as well"}},
                options->reading),
            options->jobs),
        .run = [options] { return Zeq::run(*options); },
    };
}

}
