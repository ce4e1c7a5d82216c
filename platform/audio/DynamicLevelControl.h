#pragma once

#include "platform/export.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Aud::DynamicLevelControl {

/// The level nodes of one audio track: points of a line that is drawn over the sound.
///
///     level      o-------o
///               /         \            o  node
///     o--------o           o-----
///                                time
///
/// Nodes are kept in the order of their times. Between two nodes the level runs straight, outside
/// it is held, and of several nodes at one time the last one counts. A time that is no number sorts
/// behind all others. Everything works on any content, also on a hostile one.
///
/// Not to be changed while another thread uses it.
class CEL_PLATFORM_API Store
{
public:
    /// Nodes closer than this are at the same time, in seconds.
    static constexpr double kTolerance = 1e-6;

    /// What a node is there for; files may bring other values, which count as ordinary.
    enum eNodeType : std::int32_t {
        kOrdinary = 0,
        kStartGuard = 1, ///< opens the level behind a cut
        kEndGuard = 2,   ///< closes the level in front of a cut
    };

    class Node
    {
    public:
        Node() = default;

        /// @param time   edit time in seconds. @param level  magnitude of the gain, 1 is unity.
        /// @param inAudioBlack  whether the track has no material there.
        Node(double time, float level, eNodeType type, bool inAudioBlack)
            : time_(time)
            , level_(level)
            , type_(type)
            , inAudioBlack_(inAudioBlack)
        {
        }

        double getRawTime() const { return time_; }
        float getLevel() const { return level_; }
        eNodeType getNodeType() const { return type_; }
        bool isInAudioBlack() const { return inAudioBlack_; }
        bool isStartGuard() const { return type_ == kStartGuard; }
        bool isEndGuard() const { return type_ == kEndGuard; }
        bool isGuardNode() const { return isStartGuard() || isEndGuard(); }

    private:
        friend class Store;

        double time_ = 0.0;
        float level_ = 1.0F;
        eNodeType type_ = kOrdinary;
        bool inAudioBlack_ = false;
    };

    /// A position: a node's index, or the end. It does not follow its node when others come or go.
    /// Neither end can be stepped over; the end reads as a node made by default and takes no value.
    class iterator
    {
    public:
        iterator() = default;
        bool operator==(const iterator&) const = default;

        iterator& operator++()
        {
            index_ += hasNode() ? 1 : 0;
            return *this;
        }
        iterator& operator--()
        {
            index_ -= index_ > 0 ? 1 : 0;
            return *this;
        }

        std::size_t index() const { return index_; }
        Node getNode() const { return hasNode() ? store_->nodes_[index_] : Node(); }

        /// See `quantised`.
        double getTime() const { return store_ ? store_->quantised(getNode()) : 0.0; }
        double getRawTime() const { return getNode().getRawTime(); }
        float getLevel() const { return getNode().getLevel(); }
        eNodeType getNodeType() const { return getNode().getNodeType(); }
        bool isStartGuard() const { return getNode().isStartGuard(); }
        bool isEndGuard() const { return getNode().isEndGuard(); }
        bool isGuardNode() const { return getNode().isGuardNode(); }
        bool isInAudioBlack() const { return getNode().isInAudioBlack(); }

        /// Always false here: a store that deletes later marks nodes, this one erases at once.
        bool isMarkedForDelete() const { return false; }

        /// Moves the node in time; who calls keeps the order.
        void setTime(double time)
        {
            if (hasNode())
                store_->nodes_[index_].time_ = time;
        }
        void setNodeType(eNodeType type)
        {
            if (hasNode())
                store_->nodes_[index_].type_ = type;
        }

    private:
        friend class Store;

        iterator(Store* store, std::size_t index)
            : store_(store)
            , index_(index)
        {
        }
        bool hasNode() const { return store_ && index_ < store_->size(); }

        Store* store_ = nullptr;
        std::size_t index_ = 0;
    };

    /// How nodes move in time: by so many seconds and then by so many. Two sums are rounded twice,
    /// which is not the same as once by their total.
    class Shift
    {
    public:
        Shift(double by, double thenBy = 0.0)
            : by_(by)
            , thenBy_(thenBy)
        {
        }
        double operator()(double time) const { return (time + by_) + thenBy_; }
        bool isNone() const { return by_ == 0.0 && thenBy_ == 0.0; }

    private:
        double by_;
        double thenBy_;
    };

    iterator begin() { return at(0); }
    iterator end() { return at(size()); }
    iterator at(std::size_t index) { return {this, index}; }
    std::size_t size() const { return nodes_.size(); }
    bool empty() const { return nodes_.empty(); }

    /// All nodes in order, for reading; valid until the store changes.
    std::span<const Node> nodes() const { return nodes_; }

    /// Grid of `iterator::getTime`, in seconds.
    void setQuantum(double seconds) { quantum_ = seconds; }
    double getQuantum() const { return quantum_; }

    /// The node's time on that grid; as it is when the grid is finer than a microsecond.
    double quantised(const Node& node) const;

    // ---- asking. O(log n) ---------------------------------------------------------------------

    /// The first node at `t` or later.
    iterator find(double t) { return at(indexOf(t)); }
    /// Its index: the number of nodes before `t`.
    std::size_t indexOf(double t) const;

    /// 1 without a node.
    float getLevelAtTime(double t) const;

    /// The flag of the last node at `t` or before, before the first that of the first; false
    /// without a node.
    bool isInAudioBlackAtTime(double t) const;

    // ---- changing. O(log n) and one move of the later nodes -------------------------------------
    // A failure of memory leaves the store as it was.

    /// Puts a node where the user wants one: the nearest node that lies within a microsecond, of
    /// equally near ones the last, takes over its level and flag, and its type unless it is a
    /// guard. No other node changes.
    /// @return the node.
    iterator insert(const Node& node);

    /// Puts a node in as it is, behind those at the same time.
    iterator insert_noAdjust(const Node& node) { return insert_noAdjust(end(), node); }

    /// The same; among nodes at the same time it goes as near to the front of `hint` as the order
    /// allows: the begin puts it before them, the end behind them. One whose time is not a number
    /// goes behind all.
    iterator insert_noAdjust(iterator hint, const Node& node);

    /// Puts nodes in one after the other, each behind those at its time; nodes in order are moved
    /// in at once. They must not be the store's own.
    void insert_noAdjust(std::span<const Node> nodes);

    /// @return the position of the node behind.
    iterator erase_noAdjust(iterator position);

    /// Erases the nodes from `from` up to, not including, `to`. @return the position behind.
    iterator erase_noAdjust(double from, double to);
    iterator erase(iterator first, iterator last);

    /// Flags the nodes from `from` up to `to`, both a microsecond early.
    void setRangeToBlackSection(double from, double to) { setBlack(from, to, true); }
    void setRangeToNonBlackSection(double from, double to) { setBlack(from, to, false); }

    /// Puts `nodes` in the place of those with the indices `first` to `last` and moves the nodes
    /// behind in time. Who calls keeps the order. Moves the later nodes once.
    void splice(std::size_t first, std::size_t last, std::span<const Node> nodes, Shift shift);

    /// Erases in one pass every node for whose index `drop` answers true. It is asked once for each
    /// node in order, and sees in `nodes()` those from its index on as they were. Must not throw.
    template <class Drop>
    void eraseEach(Drop&& drop)
    {
        std::size_t kept = 0;
        for (std::size_t i = 0; i < nodes_.size(); ++i) {
            if (!drop(i))
                nodes_[kept++] = nodes_[i];
        }
        nodes_.resize(kept);
    }

    /// Afterwards the store takes so many nodes without a failure of memory. Amortised over many
    /// calls that each ask for a little more, every node moves once.
    void reserve(std::size_t count);

private:
    std::size_t indexBehind(double t) const;
    std::size_t nearest(double t) const; ///< within a microsecond; `size()` without one
    void setBlack(double from, double to, bool black);

    std::vector<Node> nodes_;
    double quantum_ = 0.0;
};

} // namespace Aud::DynamicLevelControl
