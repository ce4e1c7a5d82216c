#pragma once

#include "tools/cel/replay_lines.h"
#include "tracks/AudLevelsCel.h"

#include <map>
#include <ostream>
#include <string>

/// Scripts over level envelopes: what their names stand for, and how they print.
namespace cel::replay {

/// A handle whose state a script reaches too: parts of the contract are the state's own.
class ScriptedLevels : public AudLevelsCel
{
public:
    explicit ScriptedLevels(const Kt::Ptr<AudLevelsCelRep>& state)
        : AudLevelsCel(state)
        , state_(state)
    {
    }

    /// Null for the invalid handle.
    AudLevelsCelRep* state() const { return state_.get(); }
    const Kt::Ptr<AudLevelsCelRep>& shared() const { return state_; }

private:
    Kt::Ptr<AudLevelsCelRep> state_;
};

/// What the names of a running script stand for, and the lines that its operation will print.
class LevelSession
{
public:
    /// @throws ScriptError for a name that no operation has given.
    ScriptedLevels& levels(const Value& name);

    /// Gives the name to a state, a null one for the invalid handle.
    void levels(const Value& name, const Kt::Ptr<AudLevelsCelRep>& state);

    /// A line of the operation: the words in their canonical form, with blanks between them.
    template <class... Words>
    void line(const Words&... words)
    {
        const char* separator = "";
        ((held_ += separator, held_ += shown(words), separator = " "), ...);
        held_ += '\n';
    }

    /// Ends an operation: hands its lines over, or drops them for the error in their place.
    std::string takeLines();

    /// A time as "%.17g" writes it and, behind a slash, its bits; a level the same with "%.9g".
    static std::string shown(double time);
    static std::string shown(float level);
    static std::string shown(std::size_t number) { return std::to_string(number); }
    static std::string shown(int number) { return std::to_string(number); }
    static std::string shown(const char* word) { return word; }
    static std::string shown(const std::string& word) { return word; }

private:
    std::map<std::string, ScriptedLevels, std::less<>> levels_;
    std::string held_;
};

/// An operation of the language, and the number of its arguments.
struct LevelOperation
{
    std::string_view name;
    std::size_t arguments;
    void (*run)(LevelSession&, Arguments);
};

/// The families of operations, one per source.
std::span<const LevelOperation> levelStateOperations();
std::span<const LevelOperation> levelEditingOperations();
std::span<const LevelOperation> levelQueryOperations();

} // namespace cel::replay
