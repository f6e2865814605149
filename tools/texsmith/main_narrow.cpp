// Arguments go in as they are, so that names that are not UTF-8 survive.
#include "application.h"

int main(int argc, char** argv) { return Tool::runApplication(argc, argv); }
