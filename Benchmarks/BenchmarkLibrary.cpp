#include "BenchmarkLibrary.h"

#include "BenchmarkSupport.h"
#include "Imagine/ImagineHistory.h"
#include "Imagine/ImagineStore.h"

#include <QColor>
#include <QImage>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace tessarin
{

namespace
{

constexpr std::size_t differentPictures = 20;

void drawPicture(const std::string& path, std::size_t number)
{
    QImage image(1024, 768, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            image.setPixel(x, y, QColor::fromHsv((x / 4 + static_cast<int>(number) * 18) % 360, 60 + y / 8, 200).rgb());
        }
    }
    if (!image.save(QString::fromStdString(path), "png")) {
        giveUp("a picture could not be written to " + path);
    }
}

} // namespace

void storeLibrary(const StoreLocations& locations, std::size_t pictures)
{
    const std::string folder = locations.data + "/Imagine";
    std::filesystem::create_directories(folder);
    std::vector<ImagineItem> items;
    for (std::size_t number = 0; number < pictures; ++number) {
        const std::string name = "creation-" + std::to_string(number) + ".png";
        const std::string path = folder + "/" + name;
        if (number < differentPictures) {
            drawPicture(path, number);
        } else {
            std::filesystem::create_hard_link(folder + "/creation-" + std::to_string(number % differentPictures) + ".png", path);
        }
        items.push_back(ImagineItem::make(ImagineKind::image, "A harbour at dawn, number " + std::to_string(number), path, name));
    }
    const auto history = encodeImagineHistory(items);
    std::ofstream file(folder + "/" + ImagineStore::historyName, std::ios::binary);
    file << history.value_or("");
    if (!history || !file.flush()) {
        giveUp("the history of the library could not be written");
    }
}

} // namespace tessarin
