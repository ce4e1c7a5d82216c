#pragma once

#include "cel/Cel.h"
#include "tools/cel/replay_lines.h"
#include "tools/cel/replay_printer.h"

#include <map>
#include <span>
#include <string>

namespace cel::replay {

/// What the names of a running script stand for, and where its output goes.
///
/// Names are values of the script; a value that names nothing is a `ScriptError`.
class Session
{
public:
    explicit Session(std::ostream& output)
        : out(output)
    {
    }

    Cel& track(const Value& name) { return *trackPointer(name); }
    const Kt::Ptr<Cel>& trackPointer(const Value& name) const;
    void track(const Value& name, const Kt::Ptr<Cel>& track);

    /// A handle on event `index` of a track.
    ce_handle handleAt(const Value& track, const Value& index) const;
    ce_handle& handle(const Value& name);
    void handle(const Value& name, const ce_handle& handle);

    ChannelEvent& event(const Value& name);
    void event(const Value& name, const ChannelEvent& event);

    /// The identifier of a name, which is drawn when the name first occurs; null for null.
    IdStamp stamp(const Value& name);
    void stamp(const Value& name, const IdStamp& id);

    Printer out;

private:
    std::map<std::string, Kt::Ptr<Cel>, std::less<>> tracks_;
    std::map<std::string, ce_handle, std::less<>> handles_;
    std::map<std::string, ChannelEvent, std::less<>> events_;
    std::map<std::string, IdStamp, std::less<>> stamps_;
};

/// An operation of the language, and how many arguments it takes.
struct Operation
{
    std::string_view name;
    std::size_t fewest;
    std::size_t most;
    void (*run)(Session&, Arguments);
};

/// The families of operations, one per source.
std::span<const Operation> trackOperations();
std::span<const Operation> eventOperations();
std::span<const Operation> editingOperations();
std::span<const Operation> derivedOperations();
std::span<const Operation> queryOperations();
std::span<const Operation> handleOperations();
std::span<const Operation> persistenceOperations();
std::span<const Operation> printingOperations();

} // namespace cel::replay
