#pragma once

/// What the writer and the reader of a track's layer agree on.
namespace cel::detail {

inline constexpr unsigned char kLayerRevision = 4;
inline constexpr unsigned char kChannelInfoRevision = 2;
inline constexpr int kSmallestBlock = 3; ///< fewer events are stored one by one

/// Revisions of a block of events.
inline constexpr unsigned char kFlatRecords = 3;
inline constexpr unsigned char kPairRecords = 4;

} // namespace cel::detail
