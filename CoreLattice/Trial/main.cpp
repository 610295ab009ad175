// tovrin-composition-trial reads, compiles and draws one composition and prints what came of it; see CompositionTrial.

#include "CoreLattice/CompositionTrial.h"

#include <cstdio>

int main(int count, char** arguments)
{
    if (count == 3)
        return CoreLattice::runCompositionTrial(arguments[1], arguments[2]);
    std::fputs("usage: tovrin-composition-trial TEXTS FILE\n", stderr);
    return 2;
}
