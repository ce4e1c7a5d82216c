#pragma once

#include "cel/ChannelEvent.h"

#include <map>
#include <ostream>
#include <string>
#include <string_view>

namespace cel::replay {

/// Writes what a script prints, the same on every system and in every locale.
///
/// The lines of an operation are held back until it is done, because an error takes their place;
/// reports are written as they come. An identifier is shown as #k, k counting the identifiers in
/// the order of their first appearance in the output.
class Printer
{
public:
    explicit Printer(std::ostream& out)
        : out_(out)
    {
    }

    /// A line of the operation: the words, each in its canonical form, with blanks between them.
    /// A `double` is a time, a `float` a level.
    template <class... Words>
    void line(const Words&... words)
    {
        const char* separator = "";
        ((held_ += separator, held_ += shown(words), separator = " "), ...);
        held_ += '\n';
    }

    /// Something was logged or reported.
    void report(std::string_view text);

    /// Ends an operation: its lines, or an error in their place.
    void done();
    void failed(std::string_view message);
    /// Ends an operation that turned out to be none.
    void discard() { held_.clear(); }

    /// Whether dumps show identifiers.
    void showIds(bool on) { dumpsShowIds_ = on; }

    static std::string shown(bool value) { return value ? "1" : "0"; }
    static std::string shown(int value) { return std::to_string(value); }
    static std::string shown(unsigned value) { return std::to_string(value); }
    static std::string shown(double time);
    static std::string shown(float level);
    static std::string shown(const Cookie& material);
    static std::string shown(const char* word) { return word; }
    static std::string shown(const std::string& word) { return word; }
    std::string shown(const IdStamp& id);
    std::string shown(const ChannelEvent& event)
    {
        return describe(event, shown(event.editGraph()));
    }

    /// An event as a dump shows it.
    std::string dumped(const ChannelEvent& event);

private:
    static std::string describe(const ChannelEvent& event, const std::string& id);
    void write(std::string_view mark, std::string_view text);

    std::ostream& out_;
    std::string held_;
    std::map<IdStamp, int> numbers_;
    bool dumpsShowIds_ = true;
};

} // namespace cel::replay
