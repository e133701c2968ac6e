#include "director/ProofDirector.h"

int main()
{
    ProofDirector director("buffer", "none.xml", "none.pos", "none.pog", ".", false, 2, 0, "", "",
                           false);
    return director.isLoaded() ? 1 : 0;
}
