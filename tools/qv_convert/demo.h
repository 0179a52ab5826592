// The --demo gallery: the test pattern through every output format, rotation, kind of scaling,
// colour adjustment and deinterlace mode, as PNG pictures and an index.html with captions.
#pragma once

#include <string>

#include "convert.h"
#include "library.h"

namespace qvc {

struct DemoSummary {
    int pictures = 0;   // PNGs written
    int blank = 0;      // of those, outputs the library left untouched
    int failed = 0;     // conversions that stopped with an error (shown as such in the page)
    std::string index;  // path of index.html
};

ConvertResult RunDemo(const std::string& directory, const Library& library, DemoSummary& summary);

}  // namespace qvc
