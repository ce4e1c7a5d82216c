#pragma once

/// How an effect's parameters follow when the section that carries it changes its length.
enum ParamResizeMethod : int {
    kResizeKeepTail = 0, ///< what is left is the end of the former duration
    kResizeKeepHead = 1, ///< what is left is its beginning
};
