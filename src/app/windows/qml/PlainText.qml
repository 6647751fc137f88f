import QtQuick

// Words as they are: nothing in them is taken for markup.
Text {
    textFormat: Text.PlainText
}
