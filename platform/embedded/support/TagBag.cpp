#include "platform/support/TagBag.h"

#include "platform/support/Taggable.h"

#include <map>
#include <utility>

TagBase::TagBase() = default;
TagBase::TagBase(const IdStamp& id, const Kt::Ptr<Taggable>& object)
    : id_(id)
    , object_(object)
{
}
TagBase::TagBase(const TagBase&) = default;
TagBase::TagBase(TagBase&&) noexcept = default;
TagBase& TagBase::operator=(const TagBase&) = default;
TagBase& TagBase::operator=(TagBase&&) noexcept = default;
TagBase::~TagBase() = default;

bool TagBase::valid() const
{
    return object_ != nullptr;
}

namespace cel {

namespace {

class MemoryTagBag final : public TagBag
{
public:
    TagBase openObject(const IdStamp& id) override
    {
        const auto found = objects_.find(id);
        return found == objects_.end() ? TagBase() : TagBase(id, found->second);
    }

    void storeObject(const TagBase& tag) override
    {
        if (!tag.valid() || !tag.id().valid())
            return;
        // The former object goes last: its destructor may use this store.
        auto former = tag.object();
        objects_[tag.id()].swap(former);
    }

    Kt::Ptr<Taggable> extractObject(const IdStamp& id) override
    {
        const auto node = objects_.extract(id);
        return node ? std::move(node.mapped()) : nullptr;
    }

    void destroyObject(const IdStamp& id) override { extractObject(id); }

private:
    std::map<IdStamp, Kt::Ptr<Taggable>> objects_;
};

} // namespace

std::unique_ptr<TagBag> makeMemoryTagBag()
{
    return std::make_unique<MemoryTagBag>();
}

} // namespace cel
