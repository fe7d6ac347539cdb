#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Headless {

// Gives each picture a file name in the output folder. No two pictures get the same one, and none
// gets that of a file that is still to be read or of the contact sheet.
class OutputNames
{
public:
    OutputNames(std::filesystem::path folder, const std::vector<std::string>& inputs)
        : m_folder(std::move(folder))
    {
        for (const auto& input : inputs)
            take(input);
        take(contactSheet());
    }

    std::filesystem::path contactSheet() const { return m_folder / "contact-sheet.png"; }

    // The path without its extension: "folder/shot", or "folder/shot-2" where that is taken.
    std::filesystem::path next(const std::filesystem::path& input)
    {
        const auto first = m_folder / input.stem();
        auto name = first;
        // Both extensions are taken at once, so that a picture's files bear one name.
        for (int number = 2;; ++number) {
            const bool pngIsFree = take(name.native() + ".png");
            const bool exrIsFree = take(name.native() + ".exr");
            if (pngIsFree && exrIsFree)
                return name;
            name = first.native() + "-" + std::to_string(number);
        }
    }

private:
    bool take(const std::filesystem::path& path)
    {
        return m_taken.insert(std::filesystem::weakly_canonical(std::filesystem::absolute(path)))
            .second;
    }

    std::filesystem::path m_folder;
    std::set<std::filesystem::path> m_taken;
};

}
