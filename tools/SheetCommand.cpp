#include "imaging/SheetLayout.h"
#include "tools/Commands.h"
#include "tools/Conversion.h"
#include "tools/Files.h"
#include "tools/InputFiles.h"
#include "tools/Jobs.h"
#include "tools/PictureModule.h"
#include "tools/PictureTypes.h"
#include "tools/Report.h"
#include "tools/Views.h"

#include <algorithm>
#include <cstddef>
#include <deque>
#include <exception>
#include <filesystem>
#include <iostream>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace Zeq {

namespace {

struct Options
{
    std::vector<std::string> files;
    std::string frames;
    std::string output;
    int every = 1;
    int columns = 0;
    int rows = 0;
    ViewOptions views{.side = Imaging::usualViewSide};
    JobSettings jobs;
};

struct SheetPage
{
    std::string name;
    std::vector<Imaging::View> views;
    std::size_t missing;       // views that are still to come
    std::size_t failures = 0;  // views that show a message
    std::string result = {};   // what is said of it once it was to be written
    bool isWritten = false;
};

// The pages and their views, which come from several threads and in any order. A page is written
// when its last view has come, and its views are freed.
class Sheet
{
public:
    Sheet(const std::vector<std::string>& pageNames, std::size_t viewCount,
          const Imaging::PageLayout& layout)
        : m_layout(layout)
    {
        for (const auto& name : pageNames) {
            const auto count = std::min(layout.views, viewCount - m_pages.size() * layout.views);
            m_pages.push_back({name, std::vector<Imaging::View>(count), count});
        }
    }

    void place(std::size_t index, Imaging::View view, MemoryBudget& budget)
    {
        auto& page = m_pages[index / m_layout.views];
        {
            const std::lock_guard lock(m_pagesMutex);
            page.failures += view.message.empty() ? 0 : 1;
            page.views[index % m_layout.views] = std::move(view);
            // What shows nothing but messages waits: without any picture nothing is written.
            if (--page.missing != 0 || page.failures == page.views.size())
                return;
        }
        write(page, budget);
    }

    // Writes what has waited and says what has become of each page. Gives the number of those that
    // could not be written. To be called when all views are there.
    std::size_t finish(MemoryBudget& budget, bool isQuiet)
    {
        const auto hasNoPicture = [](const auto& page) { return page.result.empty(); };
        if (std::ranges::all_of(m_pages, hasNoPicture))
            return 0;
        std::size_t failures = 0;
        for (auto& page : m_pages) {
            if (page.result.empty())
                write(page, budget);
            if (!page.isWritten)
                reportError(page.result);
            else if (!isQuiet)
                std::cout << shown(page.result) << '\n';
            failures += page.isWritten ? 0 : 1;
        }
        return failures;
    }

private:
    void write(SheetPage& page, MemoryBudget& budget) const
    {
        const auto views = std::exchange(page.views, {});
        try {
            const auto reservation =
                budget.reserve(Imaging::Page(views, m_layout.columns).byteCount());
            writeOutput(page.name, [&](const std::string& temporaryName) {
                pictureModule().writeContactSheet(temporaryName, views, m_layout.columns);
            });
            const auto count = views.size() - page.failures;
            page.result =
                page.name + ": " + std::to_string(count) + (count == 1 ? " file" : " files");
            if (page.failures)
                page.result += ", " + std::to_string(page.failures) + " failed";
            page.isWritten = true;
        } catch (const FileError& error) {
            page.result = error.what();
        } catch (const std::exception& error) {
            page.result = page.name + ": " + messageOf(error);
        }
    }

    const Imaging::PageLayout m_layout;
    std::deque<SheetPage> m_pages;
    std::mutex m_pagesMutex;  // guards the pages that are not complete
};

void checkFits(const std::string& option, int wanted, int most, int side)
{
    if (wanted > most)
        throw UsageError(option + ": at most " + std::to_string(most) + " views of " +
                         std::to_string(side) + " pixels fit on a page");
}

Imaging::PageLayout layoutOf(const Options& options)
{
    const int side = options.views.side;
    checkFits("--columns", options.columns, Imaging::mostColumns(side), side);
    checkFits("--rows", options.rows, Imaging::mostRows(side), side);
    return Imaging::pageLayout(side, options.columns, options.rows);
}

// One page keeps the name, unless that has a place for a number.
std::vector<std::string> pageNames(const std::string& output, std::size_t count)
{
    auto pattern = FramePattern::parse(output);
    if (!pattern && count == 1)
        return {output};
    if (!pattern) {
        const auto dot = output.size() - std::filesystem::path(output).extension().native().size();
        pattern = {output.substr(0, dot) + ".", std::to_string(count).size(), output.substr(dot)};
    }
    std::vector<std::string> names;
    for (int page = 1; names.size() < count; ++page)
        names.push_back(pattern->fileName(page));
    return names;
}

std::vector<InputFile> everyNth(const std::vector<InputFile>& files, int step)
{
    std::vector<InputFile> chosen;
    for (std::size_t index = 0; index < files.size(); index += static_cast<std::size_t>(step))
        chosen.push_back(files[index]);
    return chosen;
}

std::vector<Job> jobsFor(const std::vector<InputFile>& files, const Options& options, Sheet& sheet)
{
    const auto reading = options.views.reading.options();
    std::vector<Job> jobs;
    for (std::size_t index = 0; index < files.size(); ++index) {
        const auto& file = files[index];
        const auto make = [&, index, reading](MemoryBudget& budget) {
            const auto name = std::filesystem::path(file.name).filename().native();
            Imaging::View view;
            std::exception_ptr failure;
            try {
                throwProblem(file);
                const auto [picture, size] = readReduced(file.name, reading, options.views, budget);
                view = Imaging::viewOf(picture, size, name);
            } catch (const std::exception& error) {
                failure = std::current_exception();
                view = Imaging::failedView(name, messageOf(error));
            }
            sheet.place(index, std::move(view), budget);
            if (failure)
                std::rethrow_exception(failure);
            return std::string();
        };
        jobs.push_back({file.name, {}, make});
    }
    return jobs;
}

int run(const Options& options)
{
    if (options.output.empty())
        throw UsageError("--output: a file is required");
    if (!findPictureType(extensionOf(options.output)))
        throw UsageError(options.output + ": files of this kind are not written");
    const auto layout = layoutOf(options);
    const auto named = inputFiles(options.files, options.frames);
    const auto files = everyNth(named, options.every);
    const auto names = pageNames(options.output, (files.size() + layout.views - 1) / layout.views);
    InputNames inputNames(named);
    checkFolderOf(options.output);
    for (const auto& name : names)
        if (const auto input = inputNames.sameAs(name))
            throw UsageError("the sheet would overwrite the input " + *input);

    Sheet sheet(names, files.size(), layout);
    const auto jobs = jobsFor(files, options, sheet);
    removeUnfinishedFilesOnSignals();
    auto failures = failuresIn(runJobs(jobs, options.jobs));
    MemoryBudget budget(options.jobs.memory);
    failures += sheet.finish(budget, options.jobs.isQuiet);
    return failures ? ExitStatus::failure : ExitStatus::success;
}

}

Command sheet()
{
    const auto options = std::make_shared<Options>();
    auto arguments = viewArguments(options->views);
    arguments.insert(
        arguments.begin(),
        {filesArgument(options->files, "media files and other pictures, or folders of such"),
         required({"-o,--output", "SHEET", &options->output, "the file to write: sheet.png"}),
         {.names = "--columns",
          .value = "N",
          .target = &options->columns,
          .help = "views beside each other (default: a page has the shape of a screen)",
          .largest = 65500},
         {.names = "--rows",
          .value = "N",
          .target = &options->rows,
          .help = "rows on a page; more views take further pages (default: one page)",
          .largest = 65500}});
    arguments.insert(arguments.end(), {{.names = "--every",
                                        .value = "N",
                                        .target = &options->every,
                                        .help = "only the first file and each Nth after it",
                                        .largest = 1'000'000},
                                       framesArgument(options->frames)});
    return {
        .description = sequencesText + R"(

Each view has its file's name, size and depth below. In place of a file that cannot be read is what
is wrong with it. Transparent pictures lie on a checkerboard.
)" + displayText + R"(

Where there is more than one page, their numbers stand before the ending: sheet.1.png, sheet.2.png.
A SHEET like sheet.##.png always takes numbers. More views than make a picture of 256 million
pixels, 1500 or so of the default size, take further pages in any case.

  zeq sheet shot.####.zeq -o sheet.png
  zeq sheet --every 10 --columns 6 --rows 4 -o pages/sheet.##.jpg shot.####.exr --srgb)",
        .arguments = withJobArguments(arguments, options->jobs),
        .run = [options] { return Zeq::run(*options); },
    };
}

}
