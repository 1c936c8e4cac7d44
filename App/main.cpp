#include "VelloranApp.h"

int main(int argc, char *argv[])
{
    VelloranApp app(argc, argv);
    return app.run();
}
