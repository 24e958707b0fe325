// How are zone files and masks read and doubted?
#include "video/zones/ZoneFile.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <set>
#include <sstream>

#include <nlohmann/json.hpp>
#include <png.h>

#include "video/base/Failure.h"
#include "video/zones/PlacedJson.h"
#include "video/zones/Polygon.h"
#include "video/zones/Zone.h"

namespace Video {

namespace {

using Json = nlohmann::ordered_json;

constexpr png_uint_32 largestMask = 16'384;  // pixels across or down

class Reader {
public:
    explicit Reader(const std::string& path) : _path(path) {}

    std::vector<Zone> ReadFile() {
        std::ifstream file(_path, std::ios::binary);
        std::error_code ignored;
        if (!file || std::filesystem::is_directory(_path, ignored)) {
            throw Failure(Concern::Usage, _path + ": cannot be read");
        }
        return Read(std::string{std::istreambuf_iterator<char>(file), {}});
    }

    std::vector<Zone> Read(const std::string& text) {
        _told = ReadJson(text, [this](const std::string& where, const std::string& what) {
            throw Failure(Concern::Usage, _path + ": " + where + ": " + what);
        });
        const Json& root = _told.root;
        Expect(root.is_object(), "", "must be an object with \"zones\"");
        CheckKeys(root, "", {"zones"});
        Expect(root.contains("zones") && root["zones"].is_array() && !root["zones"].empty(), "zones",
               "must be a list of zones");
        std::vector<Zone> zones;
        std::set<std::string> names;
        for (std::size_t i = 0; i < root["zones"].size(); ++i) {
            const std::string place = PlaceIn("zones", i);
            zones.push_back(ReadZone(root["zones"][i], place));
            Expect(names.insert(zones.back().name).second, place + ".name",
                   "there is another zone " + Quoted(zones.back().name));
        }
        return zones;
    }

private:
    [[noreturn]] void Fail(const std::string& place, const std::string& what) const {
        Fail(_told.LineOf(place), place, what);
    }

    [[noreturn]] void Fail(int number, const std::string& place, const std::string& what) const {
        const std::string line = "line " + std::to_string(number);
        throw Failure(Concern::Usage, _path + ": " + line + ": " + (place.empty() ? "" : place + ": ") + what);
    }

    void Expect(bool good, const std::string& place, const std::string& what) const {
        if (!good) {
            Fail(place, what);
        }
    }

    void CheckKeys(const Json& object, const std::string& place, const std::set<std::string>& known) const {
        for (const auto& item : object.items()) {
            if (!known.contains(item.key())) {
                std::string all;
                for (const std::string& key : known) {
                    all += (all.empty() ? "" : ", ") + key;
                }
                Fail(_told.LineOf(PlaceUnder(place, item.key())), place,
                     "unknown key " + Quoted(item.key()) + ", known are " + all);
            }
        }
    }

    Zone ReadZone(const Json& json, const std::string& place) const {
        Expect(json.is_object(), place, "must be an object");
        CheckKeys(json, place, {"name", "polygon", "mask", "exclude", "min_size", "max_size"});
        Zone zone;
        const bool named = json.contains("name") && json["name"].is_string() && !json["name"].get<std::string>().empty();
        Expect(named, place + ".name", "must be a text that is not empty");
        zone.name = json["name"].get<std::string>();
        if (json.contains("exclude")) {
            Expect(json["exclude"].is_boolean(), place + ".exclude", "must be true or false");
            zone.exclude = json["exclude"].get<bool>();
        }
        zone.minSize = SizeOf(json, "min_size", zone, place);
        zone.maxSize = SizeOf(json, "max_size", zone, place);
        Expect(!zone.minSize || !zone.maxSize || *zone.minSize <= *zone.maxSize, place + ".max_size",
               "is smaller than min_size");
        Expect(json.contains("polygon") != json.contains("mask"), place, "must have either \"polygon\" or \"mask\"");
        if (json.contains("mask")) {
            const bool isName = json["mask"].is_string() && json["mask"].get<std::string>().find('\0') == std::string::npos;
            Expect(isName, place + ".mask", "must be the name of a PNG file");
            const std::filesystem::path folder = std::filesystem::path(_path).parent_path();
            try {
                zone.mask = ReadMask((folder / json["mask"].get<std::string>()).string());
            } catch (const Failure& failure) {
                Fail(place + ".mask", failure.what());
            }
        } else {
            zone.polygon = ReadPolygon(json["polygon"], place + ".polygon");
        }
        return zone;
    }

    std::optional<double> SizeOf(const Json& json, const std::string& key, const Zone& zone,
                                 const std::string& place) const {
        if (!json.contains(key)) {
            return std::nullopt;
        }
        const std::string size = place + "." + key;
        Expect(!zone.exclude, size, "has no meaning where \"exclude\" is true");
        return Fraction(json[key], size);
    }

    double Fraction(const Json& json, const std::string& place) const {
        Expect(json.is_number(), place, "must be a number from 0 to 1");
        const double value = json.get<double>();
        std::ostringstream shown;
        shown << value;
        Expect(value >= 0 && value <= 1, place, shown.str() + " lies outside 0 to 1");
        return value;
    }

    std::vector<Point> ReadPolygon(const Json& json, const std::string& place) const {
        Expect(json.is_array() && json.size() >= 3, place, "must be a list of at least three corners [x, y]");
        std::vector<Point> polygon;
        for (std::size_t i = 0; i < json.size(); ++i) {
            const std::string corner = PlaceIn(place, i);
            Expect(json[i].is_array() && json[i].size() == 2, corner, "must be a corner [x, y]");
            polygon.push_back({Fraction(json[i][0], corner + "[0]"), Fraction(json[i][1], corner + "[1]")});
        }
        const std::string trouble = PolygonTrouble(polygon);
        Expect(trouble.empty(), place, trouble);
        return polygon;
    }

    const std::string _path;
    PlacedJson _told;
};

}  // namespace

std::vector<Zone> ReadZoneFile(const std::string& path) { return Reader(path).ReadFile(); }

std::vector<Zone> ReadZoneText(const std::string& text, const std::string& origin) { return Reader(origin).Read(text); }

GreyPicture ReadMask(const std::string& path) {
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    const auto fail = [&](const std::string& why) {
        png_image_free(&image);
        throw Failure(Concern::Usage, path + ": cannot be used as a mask: " + why);
    };
    if (!png_image_begin_read_from_file(&image, path.c_str())) {
        fail(image.message);
    }
    if (image.width > largestMask || image.height > largestMask) {
        fail("is larger than " + std::to_string(largestMask) + " pixels");
    }
    image.format = PNG_FORMAT_GRAY;
    GreyPicture mask{static_cast<int>(image.width), static_cast<int>(image.height), {}};
    mask.pixels.assign(PNG_IMAGE_SIZE(image), 0);  // what is transparent stays black
    if (!png_image_finish_read(&image, nullptr, mask.pixels.data(), 0, nullptr)) {
        fail(image.message);
    }
    if (std::none_of(mask.pixels.begin(), mask.pixels.end(), [](std::uint8_t value) { return value >= 128; })) {
        fail("nothing in it is bright");
    }
    return mask;
}

}  // namespace Video
