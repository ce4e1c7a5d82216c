#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>

namespace cel {

/// The reel names of an edit list that is written: at most eight characters without blanks, each
/// reel its own.
class EdlReels
{
public:
    struct Name
    {
        std::string text;
        bool isChanged = false; ///< it is not the reel's own, and this was not told before
    };

    /// Keeps a name that fits for the reel that has it, so that no shortened one takes it.
    void reserve(const std::string& reel);

    /// The name in the list; the same for the same reel. A reel without a name "AX".
    Name nameOf(const std::string& reel);

private:
    std::set<std::string, std::less<>> taken_{"AX", "BL"};
    std::map<std::string, std::string> shortened_;
    bool toldAuxiliary_ = false;
};

} // namespace cel
