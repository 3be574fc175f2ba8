// hainbrem-app: the desktop application.
#include "app/start.hpp"

int main(int argc, char** argv) { return hainbrem::starteAnwendung(argc, argv); }
