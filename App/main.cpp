#include "ScriptRunner.h"
#include "VelloranApp.h"

int main(int argc, char *argv[])
{
    VelloranApp app(argc, argv);
    // Temporary folders of runs that were killed before they could clean up go first.
    ScriptRunner::RunFolder::removeAbandoned();
    return app.run();
}
