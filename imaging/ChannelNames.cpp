#include "imaging/ChannelNames.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <map>
#include <stdexcept>

namespace Imaging {

namespace {

enum Role
{
    red,
    green,
    blue,
    alpha,
    grey,
    roleCount,
};

// The places of a layer's channels, -1 for those that it does not have.
struct Layer
{
    std::array<int, roleCount> places{-1, -1, -1, -1, -1};

    bool hasColours() const { return places[red] >= 0 && places[green] >= 0 && places[blue] >= 0; }
    bool hasPicture() const { return hasColours() || places[grey] >= 0; }
};

Role roleOf(std::string name)
{
    std::ranges::transform(name, name.begin(), [](unsigned char letter) {
        return static_cast<char>(std::tolower(letter));
    });
    // clang-format off
    static const auto& roles = *new std::map<std::string, Role>{
        {"r", red},   {"red", red},
        {"g", green}, {"green", green},
        {"b", blue},  {"blue", blue},
        {"a", alpha}, {"alpha", alpha},
        {"y", grey},
    };
    // clang-format on
    const auto role = roles.find(name);
    return role == roles.end() ? roleCount : role->second;
}

std::map<std::string, Layer> layersOf(const std::vector<std::string>& names)
{
    std::map<std::string, Layer> layers;
    for (std::size_t index = 0; index < names.size(); ++index) {
        const auto& name = names[index];
        const auto dot = name.rfind('.');
        const bool isInLayer = dot != std::string::npos;
        const auto role = roleOf(isInLayer ? name.substr(dot + 1) : name);
        auto& layer = layers[isInLayer ? name.substr(0, dot) : ""];
        if (role != roleCount && layer.places[role] < 0)
            layer.places[role] = static_cast<int>(index);
    }
    std::erase_if(layers, [](const auto& layer) { return !layer.second.hasPicture(); });
    return layers;
}

ChannelPlaces placesOf(const Layer& layer, const std::vector<std::string>& names)
{
    const auto& places = layer.places;
    ChannelPlaces found =
        layer.hasColours()
            ? ChannelPlaces{places[red], places[green], places[blue], places[alpha], {}}
            : ChannelPlaces{places[grey], places[grey], places[grey], places[alpha], {}};
    const std::array taken = {found.red, found.green, found.blue, found.alpha};
    for (std::size_t index = 0; index < names.size(); ++index)
        if (std::ranges::find(taken, static_cast<int>(index)) == taken.end())
            found.leftOut.push_back(names[index]);
    return found;
}

}

ChannelPlaces channelPlaces(const std::vector<std::string>& names, const std::string& layer)
{
    const auto layers = layersOf(names);
    if (const auto found = layers.find(layer); found != layers.end())
        return placesOf(found->second, names);
    if (layer.empty() && layers.size() == 1)
        return placesOf(layers.begin()->second, names);

    const auto there = "has the channels " + listedNames(names);
    if (!layer.empty())
        throw std::runtime_error(there + ": no R, G, B and no Y in a layer " + layer);
    if (layers.empty())
        throw std::runtime_error(there + ": no R, G, B and no Y");
    std::vector<std::string> layerNames;
    for (const auto& [name, ignored] : layers)
        layerNames.push_back(name);
    throw std::runtime_error("has the layers " + listedNames(layerNames) +
                             "; choose one with --layer");
}

bool hasLayer(const std::vector<std::string>& names, const std::string& layer)
{
    return layersOf(names).contains(layer);
}

std::string listedNames(const std::vector<std::string>& names)
{
    constexpr std::size_t most = 12;
    std::string text;
    for (std::size_t index = 0; index < std::min(names.size(), most); ++index)
        text += (index ? ", " : "") + names[index];
    return names.size() > most ? text + " and " + std::to_string(names.size() - most) + " more"
                               : text;
}

}
