// tolvane-cli: scripted use of catalogues (create, register, dump, search).
#include <QCoreApplication>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    return 0;
}
