pragma Singleton

import QtQuick

// Every colour, size, typeface and duration of the window, by role. The window sets `dark`, `reducedMotion` and `fixedFamily` from the
// desktop, and all follow live.
QtObject {
    id: root

    property bool dark: false
    property bool reducedMotion: false

    // Grounds, from the back to the front.
    readonly property color sidebar: dark ? "#151719" : "#f3f1ec"
    readonly property color window: dark ? "#1b1d1f" : "#fdfcfa"
    readonly property color card: dark ? "#232629" : "#ffffff"
    readonly property color sunken: dark ? "#16181a" : "#f5f3ee"

    // Lines: `stroke` separates, `strokeField` outlines what is typed into, `strokeStrong` what is known by its outline alone.
    readonly property color stroke: dark ? "#34383b" : "#e4e0d8"
    readonly property color strokeField: dark ? "#4b5155" : "#cbc5ba"
    readonly property color strokeStrong: dark ? "#7d8588" : "#8c877e"

    readonly property color text: dark ? "#e8e9e7" : "#1d2022"
    readonly property color secondaryText: dark ? "#a3aaaa" : "#5c615f"

    // The accent: `accent` for text, symbols and focus, the fills for prominent controls.
    readonly property color accent: dark ? "#66c3d5" : "#0d6678"
    readonly property color accentFill: dark ? "#1c788b" : "#0d6678"
    readonly property color accentFillHover: dark ? "#1f8094" : "#0b5768"
    readonly property color accentFillPressed: dark ? "#186779" : "#094956"
    readonly property color accentDepth: Qt.darker(accentFill, 2.2)
    readonly property color inkOnAccent: "#ffffff"
    readonly property color accentTint: dark ? "#19333a" : "#e0eff1"
    readonly property real accentGlow: dark ? 0.16 : 0.12

    readonly property color green: dark ? "#63c990" : "#1b7540"
    readonly property color orange: dark ? "#efb25c" : "#985700"
    // Symbols and dots need less contrast than text and may be livelier.
    readonly property color orangeMark: dark ? "#efb25c" : "#c26c00"
    readonly property color red: dark ? "#ff9084" : "#b8322a"
    readonly property color redFill: dark ? "#bd4238" : "#b8322a"
    readonly property color redFillHover: dark ? "#c84b41" : "#a32a23"
    readonly property color inkOnRed: "#ffffff"

    // Laid over whatever is below.
    readonly property color hover: dark ? "#12ffffff" : "#0e1a1408"
    readonly property color pressed: dark ? "#19ffffff" : "#1a1a1408"
    readonly property color scrim: dark ? "#99000000" : "#66241f16"
    readonly property real shadowLowStrength: dark ? 0.4 : 0.11
    readonly property real shadowHighStrength: dark ? 0.7 : 0.3
    readonly property real disabledOpacity: 0.45
    readonly property real dropGround: 0.72

    // Words of code. A block in a language without rules stays in `text`.
    readonly property color codeKeyword: dark ? "#7fc4e8" : "#0b5c8a"
    readonly property color codeText: dark ? "#9bd0a4" : "#2f6b36"
    readonly property color codeNumber: dark ? "#e6b680" : "#8a4b08"
    readonly property color inlineCode: dark ? "#2e3235" : "#efebe3"
    // What is read by a camera, the same in both looks.
    readonly property color paper: "#ffffff"
    readonly property color ink: "#1d2022"
    // The panel of a command to be copied.
    readonly property color terminal: dark ? "#99000000" : "#eb1d2022"
    readonly property color terminalText: "#f2f3f1"

    // Spacing.
    readonly property int space2: 2
    readonly property int space4: 4
    readonly property int space6: 6
    readonly property int space8: 8
    readonly property int space12: 12
    readonly property int space18: 18
    readonly property int space24: 24
    readonly property int space36: 36

    // Spacing of single places.
    readonly property int spaceSections: 5
    readonly property int spaceRow: 10
    readonly property int spaceSheetHeader: 13
    readonly property int spaceBanner: 14
    readonly property int bannerInset: 20
    readonly property int spaceProgress: 7
    readonly property int spaceGalleryEmpty: 15
    readonly property int spaceInstall: 20
    readonly property int spaceWelcome: 22
    readonly property int spaceCard: 14

    // Radii: rows and fields, buttons, cards, the composer and sheets.
    readonly property int radiusSmall: 6
    readonly property int radiusButton: 8
    readonly property int radiusMedium: 10
    readonly property int radiusMedia: 11
    readonly property int radiusLarge: 12
    readonly property int radiusExtraLarge: 16
    readonly property int radiusBadge: 20
    readonly property int radiusTile: 1

    // Type. The families are the desktop's own.
    property string fixedFamily: "monospace"
    readonly property int sizeOverline: 11
    readonly property int sizeCaption: 12
    readonly property int sizeCallout: 13
    readonly property int sizeBody: 14
    readonly property int sizeTitle: 17
    readonly property int sizeHeadline: 21
    readonly property int sizeLarge: 30
    readonly property int lineCaption: 17
    readonly property int lineCallout: 19
    readonly property int lineBody: 22
    readonly property int lineTitle: 24
    readonly property int lineLarge: 38
    readonly property int lineCode: 20
    readonly property int lineCodeSmall: 18
    readonly property font overlineFont: Qt.font({ pixelSize: sizeOverline, weight: Font.DemiBold, letterSpacing: 0.6 })
    readonly property font captionFont: Qt.font({ pixelSize: sizeCaption })
    readonly property font captionStrongFont: Qt.font({ pixelSize: sizeCaption, weight: Font.DemiBold })
    readonly property font calloutFont: Qt.font({ pixelSize: sizeCallout })
    readonly property font calloutMediumFont: Qt.font({ pixelSize: sizeCallout, weight: Font.Medium })
    readonly property font calloutStrongFont: Qt.font({ pixelSize: sizeCallout, weight: Font.DemiBold })
    readonly property font bodyFont: Qt.font({ pixelSize: sizeBody })
    readonly property font bodyStrongFont: Qt.font({ pixelSize: sizeBody, weight: Font.DemiBold })
    readonly property font headlineFont: Qt.font({ pixelSize: sizeHeadline, weight: Font.DemiBold })
    readonly property font titleFont: Qt.font({ pixelSize: sizeTitle, weight: Font.DemiBold })
    readonly property font largeFont: Qt.font({ pixelSize: sizeLarge, weight: Font.DemiBold, letterSpacing: -0.4 })
    readonly property font codeFont: Qt.font({ family: fixedFamily, pixelSize: sizeCallout })
    readonly property font codeSmallFont: Qt.font({ family: fixedFamily, pixelSize: sizeCaption })

    // Symbols.
    readonly property int symbolTiny: 12
    readonly property int symbolSmall: 14
    readonly property int symbolMedium: 16
    readonly property int symbolBanner: 18
    readonly property int symbolSheet: 34
    readonly property int symbolHero: 38
    readonly property int symbolCode: 72

    // Controls.
    readonly property int hairline: 1
    readonly property int focusWidth: 2
    readonly property int fade: 20
    readonly property int controlHeight: 32
    readonly property int controlLarge: 36
    readonly property int controlSmall: 28
    readonly property int controlTiny: 24
    readonly property int sendButton: 32
    readonly property int dot: 7
    readonly property int dotLarge: 8
    readonly property int switchWidth: 38
    readonly property int switchHeight: 22
    readonly property int switchKnob: 16
    readonly property int listMark: 5
    readonly property int taskMark: 15
    readonly property int quoteLine: 3
    readonly property int tile: 6
    readonly property int planTile: 8
    readonly property int planTileGap: 3
    readonly property int scrollBar: 8
    readonly property int grip: 6

    // How far the shadow pictures reach beyond their object.
    readonly property int shadowLow: 24
    readonly property int shadowHigh: 56

    // Layout.
    readonly property int sidebarMinimum: 220
    readonly property int sidebarIdeal: 260
    readonly property int sidebarMaximum: 340
    readonly property int menuBarHeight: 30
    readonly property int headerHeight: 56
    readonly property int sidebarFooter: 48
    readonly property int columnMaximum: 820
    readonly property int columnInset: 18
    readonly property int bubbleInset: 80
    readonly property int avatar: 24
    readonly property int rowTask: 46
    readonly property int rowTaskNew: 32
    readonly property int rowTool: 38
    readonly property int rowPlan: 28
    readonly property int rowMenu: 30
    readonly property int rowThought: 28
    readonly property int outputMaximum: 260
    readonly property int outputAhead: 4 * lineCodeSmall // of it is made before it is seen: all that exists is made anew when it changes
    readonly property int rowsKept: 50
    readonly property int rowsKeptWithin: 1000000
    readonly property int outputKeptWithin: 40000 // around what is seen of an output of which a part is selected
    readonly property int composerTextMaximum: 176
    readonly property int welcomeBadge: 72
    readonly property int badge: 26
    readonly property int listIndent: 26
    readonly property int quoteIndent: 14
    readonly property int sheetWidth: 540
    readonly property int alertWidth: 420
    readonly property int shortcutsWidth: 880
    readonly property int installWidth: 560
    readonly property int detailBoxMinimum: 100
    readonly property int detailBoxMaximum: 260
    readonly property int sheetListHeight: 260
    readonly property int sheetListLeast: 96
    readonly property int sheetAroundList: 200 // of a sheet with a path to type and buttons
    readonly property int menuMinimum: 180
    readonly property int toolTipMaximum: 420
    readonly property int usageMaximum: 160
    readonly property int bannerLines: 3
    readonly property real planShare: 0.4
    readonly property int tableCellMaximum: 360
    readonly property int cardMinimum: 230
    readonly property int cardMaximum: 360
    readonly property int cardInfo: 107
    readonly property real previewAspect: 1.5
    readonly property real progressShare: 0.45
    readonly property int gallerySpacing: 14
    readonly property int formatPickerWidth: 240
    readonly property int promptLines: 4
    readonly property int settingsWidth: 660
    readonly property int settingsHeight: 780
    readonly property int settingsLeastWidth: 520
    readonly property int settingsLeastHeight: 320
    readonly property int qrCode: 216
    readonly property int updateWidth: 520
    readonly property int progressLine: 8
    readonly property int logWidth: 760
    readonly property int logHeight: 620
    readonly property int logLeast: 96
    readonly property int versionsLeast: 3 * lineCodeSmall

    // Motion.
    readonly property int durationShort: reducedMotion ? 0 : 150
    readonly property int durationMedium: reducedMotion ? 0 : 200
    readonly property int durationBeat: 900
    readonly property int durationCopied: 1500
    readonly property int delayToolTip: 600
    readonly property int easing: Easing.OutCubic

    // The shade of a symbol or a dot.
    function tint(value: int): color {
        return [secondaryText, green, orangeMark, red, text][value]
    }

    // The shade of a text.
    function textTint(value: int): color {
        return [secondaryText, green, orange, red, text][value]
    }

    // The space above a row of the conversation.
    function rowGap(value: int): int {
        return [0, space8, space12, space18, space24][value]
    }

    // The space above a block of an answer.
    function blockGap(value: int): int {
        return [0, space4, space12, space18][value]
    }
}
