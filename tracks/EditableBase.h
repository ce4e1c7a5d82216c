#pragma once

#include "tracks/Editable.h"

/// Gives each family of handles a root of its own, so that a handle of one is never taken for one
/// of another. Adds neither data nor operations and, like `Editable`, has nothing to copy.
template <class T>
class EditableBase : public Editable
{
};
