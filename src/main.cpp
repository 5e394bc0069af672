#include "app/application.h"
#include "app/startup.h"

int main(int argc, char **argv)
{
    Application application(argc, argv);
    StartUp startUp(application);
    if (!startUp.prepare())
        return 0; // a running studio took the file over
    return startUp.exec();
}
