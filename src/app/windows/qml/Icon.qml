import QtQuick

// One of the program's own line icons.
Image {
    property string name
    property color color
    property int size: 16

    width: size
    height: size
    sourceSize: Qt.size(Math.round(size * Screen.devicePixelRatio), Math.round(size * Screen.devicePixelRatio))
    source: name === "" ? "" : "image://icon/" + name + "/" + colorDigits(color)
    Accessible.ignored: true

    function colorDigits(value) {
        const digits = value.toString()  // "#rrggbb" or "#aarrggbb"
        return digits.length === 9 ? digits.slice(3) : digits.slice(1)
    }
}
