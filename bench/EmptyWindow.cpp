// The least a Qt Quick program can be: one empty window of the size of ours.

#include <QGuiApplication>
#include <QQmlApplicationEngine>

int main(int argc, char *argv[])
{
    const QGuiApplication application(argc, argv);
    QQmlApplicationEngine engine;
    engine.loadData("import QtQuick\nWindow { width: 1080; height: 720; visible: true }");
    return QGuiApplication::exec();
}
