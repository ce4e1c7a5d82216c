#include "platform/support/FileTagBag.h"

#include "cel/Cel.h"
#include "tests/support/log_capture.h"
#include "tests/support/table.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/track_notation.h"

#include <gtest/gtest.h>

#include <functional>
#include <sstream>

namespace cel::test {
namespace {

/// One form of a store, and what may be done with it between two steps without anybody noticing.
struct Form
{
    const char* name;
    std::function<std::unique_ptr<TagBag>(const std::filesystem::path&)> make;
    std::function<void(std::unique_ptr<TagBag>&, const std::filesystem::path&)> between;
};

std::unique_ptr<TagBag> opened(const std::filesystem::path& path)
{
    std::string error;
    auto bag = openTagBag(path, error);
    EXPECT_TRUE(bag) << error;
    return bag;
}

void save(TagBag& bag)
{
    std::string error;
    EXPECT_TRUE(dynamic_cast<FileTagBag&>(bag).save(error)) << error;
}

const Form kForms[] = {
    {"memory", [](const auto&) { return makeMemoryTagBag(); }, [](auto&, const auto&) {}},
    {"file", opened, [](auto&, const auto&) {}},
    {"saved file", opened, [](auto& bag, const auto&) { save(*bag); }},
    {"opened anew", opened,
     [](auto& bag, const auto& path) {
         save(*bag);
         bag = opened(path);
     }},
};

IdStamp idOf(const std::string& name)
{
    return name == "null" ? IdStamp(0, 0, 0) : IdStamp(7, 7, static_cast<unsigned>(name[0]));
}

std::string described(const Kt::Ptr<Taggable>& object)
{
    const auto track = Kt::dynamicCast<Cel>(object);
    return !object ? "none" : track ? describe(*track) : "no track";
}

/// Takes one step of a script. @return what it gave, or nothing.
std::string take(TagBag& bag, const std::string& verb, const std::string& name,
                 const std::string& notation)
{
    const IdStamp id = idOf(name);
    if (verb == "store")
        bag.storeObject(TagBase(id, track(notation)));
    else if (verb == "open")
        return described(bag.openObject(id).object());
    else if (verb == "extract")
        return described(bag.extractObject(id));
    else if (verb == "destroy")
        bag.destroyObject(id);
    else if (verb == "edit")
        fill(*Kt::dynamicCast<Cel>(bag.openObject(id).object()), notation);
    else if (verb == "invalid")
        bag.storeObject(TagBase());
    else if (verb == "save" && dynamic_cast<FileTagBag*>(&bag))
        save(bag);
    else if (verb == "same")
        return bag.openObject(id).object() == bag.openObject(id).object() ? "yes" : "no";
    return {};
}

TEST(TagBag, KeepsItsContractInEveryForm)
{
    for (const Form& form : kForms) {
        for (const TableRow& c : table("platform", "tag bag")) {
            SCOPED_TRACE(std::string(form.name) + ": " + c.place);
            const TemporaryFolder folder;
            auto bag = form.make(folder / "bag");
            std::istringstream steps(c[0]);
            for (std::string step; std::getline(steps >> std::ws, step, ';');) {
                const std::size_t equals = step.find(" = ");
                std::istringstream words(step.substr(0, equals));
                std::string verb;
                std::string name;
                std::string notation;
                words >> verb >> name;
                std::getline(words >> std::ws, notation);
                const std::string given = take(*bag, verb, name, notation);
                EXPECT_EQ(given, equals == std::string::npos ? "" : step.substr(equals + 3))
                    << step;
                form.between(bag, folder / "bag");
            }
        }
    }
}

TEST(TagBag, SharesAnObjectForAsLongAsItIsOpen)
{
    for (const Form& form : kForms) {
        const TemporaryFolder folder;
        auto bag = form.make(folder / "bag");
        const Kt::Ptr<Cel> stored = track("A0-4");
        bag->storeObject(TagBase(idOf("a"), stored));
        if (dynamic_cast<FileTagBag*>(bag.get()))
            save(*bag);
        EXPECT_EQ(Kt::dynamicCast<Cel>(bag->openObject(idOf("a")).object()), stored) << form.name;
        const auto taken = bag->extractObject(idOf("a"));
        bag.reset();
        EXPECT_EQ(described(taken), "A0-4") << form.name;
    }
}

TEST(FileTagBag, ForgetsWhatWasNotSaved)
{
    const TemporaryFolder folder;
    auto bag = opened(folder / "bag");
    bag->storeObject(TagBase(idOf("a"), track("A0-4")));
    save(*bag);
    bag->destroyObject(idOf("a"));
    bag->storeObject(TagBase(idOf("b"), track("B0-4")));
    bag = opened(folder / "bag");
    EXPECT_EQ(described(bag->openObject(idOf("a")).object()), "A0-4");
    EXPECT_EQ(described(bag->openObject(idOf("b")).object()), "none");
}

TEST(FileTagBag, NeverOverwritesWhatAnotherSaved)
{
    const TemporaryFolder folder;
    auto first = opened(folder / "bag");
    auto second = opened(folder / "bag");
    first->storeObject(TagBase(idOf("a"), track("A0-4")));
    save(*first);

    const Kt::Ptr<Cel> lost = track("B0-4");
    second->storeObject(TagBase(idOf("a"), lost));
    std::string error;
    std::vector<Taggable*> unsaved;
    EXPECT_FALSE(dynamic_cast<FileTagBag&>(*second).save(
        error, [&](Taggable& object) { unsaved.push_back(&object); }));
    EXPECT_EQ(error, "\"" + (folder / "bag").string() +
                         "\" was not saved: another program has saved to it since it was read; it "
                         "is as it was");
    EXPECT_EQ(unsaved, std::vector<Taggable*>{lost.get()});
    const LogCapture log;
    EXPECT_EQ(described(second->openObject(idOf("c")).object()), "none");
    EXPECT_NE(log.text().find("another program has saved to it"), std::string::npos);
    EXPECT_EQ(described(opened(folder / "bag")->openObject(idOf("a")).object()), "A0-4");
}

} // namespace
} // namespace cel::test
