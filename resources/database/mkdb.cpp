// SPDX-License-Identifier: GPL-3.0-or-later
// brambury-mkdb: makes the database files that are shipped, from readable statements. Runs when the program is built.
#include "platform/clsError.h"
#include "platform/database/modDatabaseMaker.h"

#include <QCoreApplication>
#include <QTextStream>

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    QStringList arguments = QCoreApplication::arguments().mid(1);
    QTextStream errors(stderr);
    if (arguments.size() < 3) {
        errors << "usage: brambury-mkdb DATABASE PASSWORD STATEMENTS.sql...\n";
        return 2;
    }
    const QString path = arguments.takeFirst();
    const QString key = arguments.takeFirst();
    try {
        modDatabaseMaker::MakeDatabase(path, key, arguments);
    } catch (const clsError& error) {
        errors << "brambury-mkdb: " << error.Description() << '\n';
        return 1;
    }
    return 0;
}
