// A port from a dictionary with the right keys and any values; what it names stays in the folders it belongs to.
#include "foundation/safe_paths.h"
#include "fuzz/fuzzed_values.h"
#include "platform/files.h"
#include "ports/port_data.h"

using namespace morvane;
using namespace morvane::fuzzing;

namespace {

std::string keyFrom(FuzzedDataProvider& data) {
    static constexpr const char* keys[] = {"CKI Version",
                                           "Creator",
                                           "Creator Mail",
                                           "Source",
                                           "Port Type",
                                           "Engine",
                                           "Engine Custom Link",
                                           "Company",
                                           "Drives",
                                           "Extensions",
                                           "MacDriver",
                                           "Decorate",
                                           "Direct3D Boost",
                                           "Winetricks",
                                           "EXEs",
                                           "Extra Files",
                                           "After Extra Files",
                                           "Before Extra Files",
                                           "Original Installer Needed",
                                           "Original Installer Name",
                                           "Button 1",
                                           "Button 7",
                                           "DLLsOverrides",
                                           "Direct3DOverrides",
                                           "ExesDLLsOverrides",
                                           "OpenGLOverrides",
                                           "Overrides",
                                           "WrapperMenu",
                                           "Is Steam",
                                           "Is GOG Galaxy",
                                           "FnToggle Default Value",
                                           "name",
                                           "main",
                                           "path",
                                           "automatic",
                                           "fullscreen",
                                           "virtualdesktop",
                                           "resolution",
                                           "colours",
                                           "compatibility",
                                           "version",
                                           "icon",
                                           "place",
                                           "typeName",
                                           "app",
                                           "func",
                                           "type",
                                           "desc",
                                           "origin",
                                           "destiny",
                                           "autorun"};
    if (data.ConsumeProbability<float>() < 0.05F) return data.ConsumeRandomLengthString(8);
    return data.PickValueInArray(keys);
}

void requireInside(const std::string& text) {
    const std::string folder = "/wrapper/drive_c";
    for (const Levels levels : {Levels::one, Levels::many}) {
        const auto path = pathInside(folder, text, levels, "the name");
        if (!path) continue;
        require(path->starts_with(folder + "/") && path->find('\0') == std::string::npos);
        require((*path + "/").find("/../") == std::string::npos);
        require(levels == Levels::many || files::parent(*path) == folder);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    FuzzedDataProvider data(bytes, size);
    Dictionary dictionary;
    for (int left = data.ConsumeIntegralInRange(0, 20); left > 0; --left) {
        std::string key = keyFrom(data);
        dictionary.set(std::move(key), valueFrom(data, keyFrom, 3));
    }
    const auto port = NSPortData::initWithDictionary(dictionary, "/folder/Game (steam).cki");
    static_cast<void>(port.ckiVersionIsAtLeast("1.6.1"));
    for (const ExeEntry& exe : port.exes) requireInside(exe.name);
    for (const ExtraFileEntry& file : port.extraFilesAfterInstaller) requireInside(file.destiny.value_or(""));
    if (port.drives) {
        for (const DriveEntry& drive : *port.drives) requireInside(drive.name);
    }
    if (port.portMenu) {
        for (const MenuEntry& entry : *port.portMenu) requireInside(entry.name);
    }
    return 0;
}
