// Not yet compiled or run: there was no Mac to do it on. Whoever builds on one first runs TrashTest.

#include "Platform/Trash.h"

#include <CoreFoundation/CoreFoundation.h>
#include <cerrno>
#include <objc/message.h>
#include <objc/runtime.h>
#include <system_error>

namespace tessarin
{

namespace
{

FileError fileErrorOf(CFErrorRef error)
{
    FileError result{ std::generic_category().message(EIO), EIO };
    const CFStringRef description = error ? CFErrorCopyDescription(error) : nullptr;
    char text[1024];
    if (description && CFStringGetCString(description, text, sizeof text, kCFStringEncodingUTF8)) {
        result.text = text;
    }
    if (description) {
        CFRelease(description);
    }
    return result;
}

} // namespace

// [NSFileManager.defaultManager trashItemAtURL:url resultingItemURL:nil error:&error], in plain C++: CFURL and CFError are those classes.
Result<void, FileError> moveToTrash(const std::string& path)
{
    // Whatever is not said in full is not moved: it could be the working directory, or what stands before the zero byte.
    if (!path.starts_with('/') || path.find('\0') != std::string::npos) {
        return Failure{ FileError{ std::generic_category().message(EINVAL), EINVAL } };
    }
    const std::string item = standardizedPath(path);
    const CFURLRef url = CFURLCreateFromFileSystemRepresentation(
        nullptr, reinterpret_cast<const UInt8*>(item.data()), static_cast<CFIndex>(item.size()), isDirectory(item));
    if (!url) {
        return Failure{ FileError{ std::generic_category().message(EINVAL), EINVAL } };
    }
    const auto makePool = reinterpret_cast<id (*)(Class, SEL)>(objc_msgSend);
    const auto drainPool = reinterpret_cast<void (*)(id, SEL)>(objc_msgSend);
    const id pool = makePool(objc_getClass("NSAutoreleasePool"), sel_registerName("new"));
    const auto defaultManager = reinterpret_cast<id (*)(Class, SEL)>(objc_msgSend);
    const id manager = defaultManager(objc_getClass("NSFileManager"), sel_registerName("defaultManager"));
    const auto trashItem = reinterpret_cast<BOOL (*)(id, SEL, CFURLRef, void*, CFErrorRef*)>(objc_msgSend);
    CFErrorRef error = nullptr;
    const bool isMoved = trashItem(manager, sel_registerName("trashItemAtURL:resultingItemURL:error:"), url, nullptr, &error);
    Result<void, FileError> outcome;
    if (!isMoved) {
        outcome = Failure{ fileErrorOf(error) };
    }
    drainPool(pool, sel_registerName("drain"));
    CFRelease(url);
    return outcome;
}

} // namespace tessarin
