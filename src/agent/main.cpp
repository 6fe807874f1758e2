#include "agent/startup.hpp"

int main(int argc, char **argv) { return vorn::run_agent(argc, argv); }
