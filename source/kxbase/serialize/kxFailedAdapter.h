// Stands for an adapter that could not be made.
#pragma once

#include "kxbase/serialize/kxSerializeAdapter.h"

// An adapter with nothing but an error text. The factory refuses it, and gives the text to its caller as the
// reason.
kxRefPointer<kxSerializeAdapter> kxFailedAdapter(const kxString& reason);
