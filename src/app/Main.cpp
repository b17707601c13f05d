#include "app/AudioPlayerAppApplication.h"

int main (int argc, char* argv[])
{
    return runMarlode (argc, const_cast<const char**> (argv));
}
