#include <iostream>
#include <string>
#include <vector>

#include "AdminCommands.h"

int main(int argc, char** argv)
{
    return ormex::tools::runAdminCommand(std::vector<std::string>(argv + 1, argv + argc), std::cout,
                                         std::cerr);
}
