#include "support/TestMain.h"

#include <QCoreApplication>

int main(int argc, char** argv) { return quillet::test::runTests<QCoreApplication>(argc, argv); }
