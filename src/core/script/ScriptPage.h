#pragma once
// What the page host needs of an HTML page: the text of its VBScript blocks
// (`<script language=vbs>`), each with the page line it starts on, so that
// errors name page lines; and the objects its `<object id=...
// classid=CLSID:...>` tags ask for, which the host creates and binds to
// their ids before the script runs. Nothing else of the HTML matters here.

#include <QList>
#include <QString>

namespace qrt::script {

class ScriptPage
{
public:
    struct Script
    {
        QString text;
        int firstLine = 1; // of the page, counting from 1
    };
    struct Object
    {
        QString id;
        QString classId; // without "CLSID:", as written
        int line = 1;
    };

    static ScriptPage fromHtml(QStringView html);

    const QList<Script> &scripts() const { return m_scripts; }
    const QList<Object> &objects() const { return m_objects; }

    void addScript(QString text, int firstLine);

private:
    QList<Script> m_scripts;
    QList<Object> m_objects;
};

} // namespace qrt::script
