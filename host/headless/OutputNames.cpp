#include "host/headless/OutputNames.h"

#include <utility>

namespace Headless {

OutputNames::OutputNames(std::filesystem::path folder, const std::vector<std::string>& inputs)
    : m_folder(std::move(folder))
{
    for (const auto& input : inputs)
        take(input);
    take(contactSheet());
}

std::filesystem::path OutputNames::contactSheet() const
{
    return m_folder / "contact-sheet.png";
}

std::filesystem::path OutputNames::next(const std::filesystem::path& input)
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

bool OutputNames::take(const std::filesystem::path& path)
{
    return m_taken.insert(std::filesystem::weakly_canonical(std::filesystem::absolute(path)))
        .second;
}

}
