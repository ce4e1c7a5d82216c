#pragma once

#include "platform/export.h"
#include "platform/support/TagBag.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace cel {

/// A store that lives in a file. Objects are read when they are opened and stay open with it.
class CEL_PLATFORM_API FileTagBag : public TagBag
{
public:
    /// Saves what was stored, changed while open, and taken out since the last save, in one
    /// transaction; what is the same as before is not written. Objects of classes that are not
    /// known here, and those that cannot be read whole, stay in the file as they are.
    /// @param unsaved  told each open object when the save fails, also by an exception: packing it
    /// may have marked it as saved. Must not throw.
    /// @return false with `error` set; the file is as it was, and saving may be tried again.
    virtual bool save(std::string& error, const std::function<void(Taggable&)>& unsaved = {}) = 0;
};

/// Opens a store, a new and empty one where there is no file. What was not saved when it goes is
/// lost. An object that cannot be read whole is logged with its identity and class, and is not
/// opened: saving it would lose the rest.
/// @return null with `error` set, as `openObjectFile`.
CEL_PLATFORM_API std::unique_ptr<FileTagBag> openTagBag(const std::filesystem::path& path,
                                                        std::string& error);

} // namespace cel
