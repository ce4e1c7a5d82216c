#include "platform/support/FileTagBag.h"

#include "platform/foundation/Exception.h"
#include "platform/support/Log.h"
#include "platform/support/Taggable.h"
#include "platform/support/object_file.h"

#include <map>
#include <set>
#include <utility>
#include <vector>

namespace cel {

namespace {

class ObjectFileTagBag final : public FileTagBag
{
public:
    explicit ObjectFileTagBag(std::unique_ptr<ObjectFile> file)
        : file_(std::move(file))
    {
    }

    TagBase openObject(const IdStamp& id) override
    {
        const auto found = open_.find(id);
        if (found != open_.end())
            return {id, found->second};
        if (!id.valid() || removed_.count(id) != 0)
            return {};
        Kt::Ptr<Taggable> object = load(id);
        if (object)
            open_.emplace(id, object);
        return {id, object};
    }

    void storeObject(const TagBase& tag) override
    {
        if (!tag.valid() || !tag.id().valid())
            return;
        // The former object goes last: its destructor may use this store.
        auto former = tag.object();
        open_[tag.id()].swap(former);
        removed_.erase(tag.id());
    }

    Kt::Ptr<Taggable> extractObject(const IdStamp& id) override
    {
        const TagBase tag = openObject(id);
        if (tag.valid())
            destroyObject(id);
        return tag.object();
    }

    void destroyObject(const IdStamp& id) override
    {
        if (!id.valid())
            return;
        removed_.insert(id);
        const auto node = open_.extract(id); // the object goes last
    }

    bool save(std::string& error, const std::function<void(Taggable&)>& unsaved) override
    {
        bool saved = false;
        try {
            saved = saveOpen(error);
        } catch (...) {
            tellOpen(unsaved);
            throw;
        }
        if (!saved)
            tellOpen(unsaved);
        return saved;
    }

private:
    bool saveOpen(std::string& error)
    {
        ObjectPacker packer;
        for (const auto& [id, object] : open_)
            packer.add(id, *object);
        const std::vector<IdStamp> removed(removed_.begin(), removed_.end());
        if (!file_->change(packer.rows(), removed, error))
            return false;
        removed_.clear();
        return true;
    }

    void tellOpen(const std::function<void(Taggable&)>& unsaved)
    {
        for (const auto& [id, object] : open_)
            if (unsaved)
                unsaved(*object);
    }

    /// Null also when only a part of the object could be read: saved again it would lose the rest.
    Kt::Ptr<Taggable> load(const IdStamp& id)
    {
        Kt::Ptr<Taggable> object;
        std::string notes;
        std::string error;
        const auto build = [&](const ObjectRow& row) {
            try {
                object = Kt::dynamicCast<Taggable>(buildObject(row, notes, buffer_));
            } catch (const Kt::Exception::Base& exception) {
                notes = exception.what();
            }
            if (notes.empty())
                return;
            object = {};
            notes = "class " + std::string(row.className) + ": " + notes;
        };
        file_->read(id, build, error);
        for (const std::string& text : {error, notes})
            if (!text.empty())
                LogBoth("Object %s cannot be read whole and stays as it is: %s\n",
                        id.asString().c_str(), text.c_str());
        return object;
    }

    std::unique_ptr<ObjectFile> file_;
    std::map<IdStamp, Kt::Ptr<Taggable>> open_;
    std::set<IdStamp> removed_;
    StreamFile buffer_;
};

} // namespace

std::unique_ptr<FileTagBag> openTagBag(const std::filesystem::path& path, std::string& error)
{
    std::error_code ignored;
    StoreMark mark;
    if (!std::filesystem::exists(path, ignored) && !createObjectFile(path, {}, {}, mark, error))
        return nullptr;
    std::unique_ptr<ObjectFile> file = openObjectFile(path, error);
    return file ? std::make_unique<ObjectFileTagBag>(std::move(file)) : nullptr;
}

} // namespace cel
