#pragma once

/// Removal of cuts that carry no information.
struct Simplification
{
    enum eType : int {
        kAll = 0,             ///< everything below, and tidying
        kZeroLength = 1,      ///< sections of no length
        kBlack = 2,           ///< black that meets black, and holes
        kQuantiseInPlace = 3, ///< edit times onto the frames; removes nothing
        kMatchFrameCuts = 4,  ///< cuts after which the same material plays on
    };
};
