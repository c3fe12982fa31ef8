#pragma once

#include <QString>

// A signed number of seconds as it is spliced into a script: the shortest decimal text that
// reads back as the same value, with ".0" on integral values ("10.0", "-2.5"). Kept scripts are
// found by their exact text, so the same value must always print the same way.
QString scriptSeconds(double seconds);
