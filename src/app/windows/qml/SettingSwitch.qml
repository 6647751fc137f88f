import QtQuick
import Quillmere

// A setting that is on or off, by its key.
SettingRow {
    id: row

    property string key

    ToggleSwitch {
        name: row.title
        checked: Preferences.values[row.key] === true
        onToggled: {
            const wanted = checked
            checked = Qt.binding(() => Preferences.values[row.key] === true)
            Preferences.set(row.key, wanted)
        }
    }
}
