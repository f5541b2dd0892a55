<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de">
<context>
    <name>Clipboard</name>
    <message>
        <source>the clipboard holds no picture</source>
        <translation>die Zwischenablage enthält kein Bild</translation>
    </message>
    <message>
        <source>the picture on the clipboard cannot be read</source>
        <translation>das Bild in der Zwischenablage kann nicht gelesen werden</translation>
    </message>
    <message>
        <source>there is no clipboard</source>
        <translation>es gibt keine Zwischenablage</translation>
    </message>
    <message>
        <source>the picture could not be encoded for the clipboard</source>
        <translation>das Bild konnte nicht für die Zwischenablage kodiert werden</translation>
    </message>
</context>
<context>
    <name>DocumentFiles</name>
    <message>
        <source>there is no picture</source>
        <translation>es ist kein Bild geöffnet</translation>
    </message>
    <message>
        <source>a side of %1 pixels is beyond the %2 an output may have</source>
        <translation>eine Seitenlänge von %1 Pixeln übersteigt die möglichen %2</translation>
    </message>
</context>
<context>
    <name>ImageDecoding</name>
    <message>
        <source>%1: %2; its colours are shown as sRGB</source>
        <translation>%1: %2; die Farben werden als sRGB angezeigt</translation>
    </message>
    <message>
        <source>%1: cannot decode the picture (%2)</source>
        <translation>%1: Das Bild kann nicht dekodiert werden (%2)</translation>
    </message>
    <message>
        <source>half</source>
        <translation>die Hälfte</translation>
    </message>
    <message>
        <source>a quarter</source>
        <translation>ein Viertel</translation>
    </message>
    <message>
        <source>an eighth</source>
        <translation>ein Achtel</translation>
    </message>
    <message>
        <source>%1: the picture&apos;s data is damaged, parts of it may show faults (%2)</source>
        <translation>%1: Die Bilddaten sind beschädigt, Teile des Bildes können Fehler zeigen (%2)</translation>
    </message>
    <message>
        <source>%1: %2 × %3 pixels is more than the %4-megapixel limit; opened at %5 the size, %6 × %7</source>
        <translation>%1: %2 × %3 Pixel sind mehr als die Grenze von %4 Megapixeln; geöffnet auf %5 der Größe, %6 × %7</translation>
    </message>
    <message>
        <source>%1: no such file</source>
        <translation>%1: Datei nicht gefunden</translation>
    </message>
    <message>
        <source>%1: is a folder, not a picture</source>
        <translation>%1: ist ein Ordner, kein Bild</translation>
    </message>
    <message>
        <source>%1: is not a regular file</source>
        <translation>%1: ist keine reguläre Datei</translation>
    </message>
    <message>
        <source>%1: cannot be read (permission denied)</source>
        <translation>%1: kann nicht gelesen werden (keine Berechtigung)</translation>
    </message>
    <message>
        <source>%1: the file is empty</source>
        <translation>%1: Die Datei ist leer</translation>
    </message>
    <message>
        <source>%1: cannot be read</source>
        <translation>%1: kann nicht gelesen werden</translation>
    </message>
    <message>
        <source>%1: not enough memory for a %2 × %3 picture</source>
        <translation>%1: Nicht genug Speicher für ein Bild von %2 × %3 Pixeln</translation>
    </message>
    <message>
        <source>%1: the picture&apos;s data ends early (the file is cut short)</source>
        <translation>%1: Die Bilddaten enden vorzeitig (die Datei ist abgeschnitten)</translation>
    </message>
    <message>
        <source>%1: %2 × %3 pixels is more than the %4-megapixel limit, and an interlaced PNG cannot be read in strips to open it reduced; save it without interlacing</source>
        <translation>%1: %2 × %3 Pixel sind mehr als die Grenze von %4 Megapixeln, und ein PNG mit Zeilensprung (interlaced) lässt sich nicht streifenweise lesen, um es verkleinert zu öffnen; speichern Sie es ohne Zeilensprung</translation>
    </message>
    <message>
        <source>%1 bits per sample</source>
        <translation>%1 Bit pro Kanal</translation>
    </message>
    <message>
        <source>floating-point or signed samples</source>
        <translation>Gleitkomma- oder vorzeichenbehafteten Werten</translation>
    </message>
    <message>
        <source>its channels in separate planes</source>
        <translation>getrennten Ebenen für die Kanäle</translation>
    </message>
    <message>
        <source>channels other than grey or RGB, with or without alpha</source>
        <translation>anderen Kanälen als Grau oder RGB, mit oder ohne Alpha</translation>
    </message>
    <message>
        <source>%1: %2 × %3 pixels is more than the %4-megapixel limit, and a TIFF with %5 cannot be read in strips to open it reduced; save it as 8- or 16-bit grey or RGB with the channels interleaved</source>
        <translation>%1: %2 × %3 Pixel sind mehr als die Grenze von %4 Megapixeln, und ein TIFF mit %5 lässt sich nicht streifenweise lesen, um es verkleinert zu öffnen; speichern Sie es als Graustufen- oder RGB-Bild mit 8 oder 16 Bit und verschachtelten Kanälen</translation>
    </message>
    <message>
        <source>a third</source>
        <translation>ein Drittel</translation>
    </message>
    <message>
        <source>a fifth</source>
        <translation>ein Fünftel</translation>
    </message>
    <message>
        <source>a sixth</source>
        <translation>ein Sechstel</translation>
    </message>
    <message>
        <source>a seventh</source>
        <translation>ein Siebtel</translation>
    </message>
    <message>
        <source>1/%1</source>
        <translation>1/%1</translation>
    </message>
</context>
<context>
    <name>LayerBlendMode</name>
    <message>
        <source>Normal</source>
        <translation>Normal</translation>
    </message>
    <message>
        <source>Screen</source>
        <translation>Negativ multiplizieren</translation>
    </message>
    <message>
        <source>Multiply</source>
        <translation>Multiplizieren</translation>
    </message>
</context>
<context>
    <name>LayerCategory</name>
    <message>
        <source>Glows</source>
        <translation>Leuchten</translation>
    </message>
    <message>
        <source>Lens Flares</source>
        <translation>Blendenflecke</translation>
    </message>
    <message>
        <source>Overlays</source>
        <translation>Überlagerungen</translation>
    </message>
    <message>
        <source>Stickers</source>
        <translation>Sticker</translation>
    </message>
    <message>
        <source>My Artwork</source>
        <translation>Eigene Grafiken</translation>
    </message>
</context>
<context>
    <name>LayerInspector</name>
    <message>
        <source>Layer</source>
        <translation>Ebene</translation>
    </message>
    <message>
        <source>Opacity</source>
        <translation>Deckkraft</translation>
    </message>
    <message>
        <source>Blend mode</source>
        <translation>Füllmethode</translation>
    </message>
    <message>
        <source>Flip</source>
        <translation>Spiegeln</translation>
    </message>
    <message>
        <source>Rotate −15°</source>
        <translation>Um −15° drehen</translation>
    </message>
    <message>
        <source>Reset rotation</source>
        <translation>Drehung zurücksetzen</translation>
    </message>
    <message>
        <source>Rotate +15°</source>
        <translation>Um +15° drehen</translation>
    </message>
    <message>
        <source>Orient to planet</source>
        <translation>Zum Planeten ausrichten</translation>
    </message>
    <message>
        <source>Centre on planet</source>
        <translation>Auf dem Planeten zentrieren</translation>
    </message>
    <message>
        <source>Bring forward</source>
        <translation>Eine Ebene nach vorne</translation>
    </message>
    <message>
        <source>Send backward</source>
        <translation>Eine Ebene nach hinten</translation>
    </message>
    <message>
        <source>Delete layer</source>
        <translation>Ebene löschen</translation>
    </message>
    <message>
        <source>Delete layer (Delete or Backspace)</source>
        <translation>Ebene löschen (Entf oder Rücktaste)</translation>
    </message>
    <message>
        <source>Blend mode: %1</source>
        <translation>Füllmethode: %1</translation>
    </message>
</context>
<context>
    <name>LayerLibraryPanel</name>
    <message>
        <source>No layers found. Add a `Layers/&lt;Category&gt;/*.png` folder reference to the app bundle.</source>
        <translation>Keine Ebenen gefunden. Fügen Sie dem Programmpaket einen Ordner `Layers/&lt;Kategorie&gt;/*.png` hinzu.</translation>
    </message>
    <message>
        <source>Click to add at the centre, or drag onto the planet.</source>
        <translation>Zum Einfügen in der Mitte klicken oder auf den Planeten ziehen.</translation>
    </message>
    <message>
        <source>Layers</source>
        <translation>Ebenen</translation>
    </message>
    <message>
        <source>Add Artwork…</source>
        <translation>Grafik hinzufügen…</translation>
    </message>
    <message>
        <source>Copy image files into your library, into the chosen category or My Artwork (or drop them here)</source>
        <translation>Bilddateien in Ihre Bibliothek kopieren, in die gewählte Kategorie oder in „Eigene Grafiken“ (oder hier ablegen)</translation>
    </message>
    <message>
        <source>All</source>
        <translation>Alle</translation>
    </message>
    <message>
        <source>Add Artwork</source>
        <translation>Grafik hinzufügen</translation>
    </message>
    <message>
        <source>Images (%1)</source>
        <translation>Bilder (%1)</translation>
    </message>
    <message>
        <source>Remove from Library</source>
        <translation>Aus der Bibliothek entfernen</translation>
    </message>
    <message>
        <source>Delete “%1” for good?</source>
        <translation>„%1“ endgültig löschen?</translation>
    </message>
    <message>
        <source>There is no trash to move it to, so it cannot be brought back.</source>
        <translation>Es gibt keinen Papierkorb, in den die Datei verschoben werden könnte; sie lässt sich nicht wiederherstellen.</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>Couldn&apos;t add %1</source>
        <translation>Hinzufügen fehlgeschlagen: %1</translation>
    </message>
    <message>
        <source>Added to %1</source>
        <translation>Zu „%1“ hinzugefügt</translation>
    </message>
    <message>
        <source>Added %1 to %2</source>
        <translation>%1 Grafiken zu „%2“ hinzugefügt</translation>
    </message>
    <message>
        <source>Couldn&apos;t remove %1</source>
        <translation>Entfernen fehlgeschlagen: %1</translation>
    </message>
</context>
<context>
    <name>LookFile</name>
    <message>
        <source>%1: the artwork &quot;%2&quot; is not in the library; the look is applied without it</source>
        <translation>%1: Die Grafik „%2“ ist nicht in der Bibliothek; der Look wird ohne sie angewendet</translation>
    </message>
    <message>
        <source>%1: cannot read the look, %2</source>
        <translation>%1: Der Look kann nicht gelesen werden, %2</translation>
    </message>
    <message>
        <source>%1: no such file</source>
        <translation>%1: Datei nicht gefunden</translation>
    </message>
    <message>
        <source>%1: is not a regular file</source>
        <translation>%1: ist keine reguläre Datei</translation>
    </message>
    <message>
        <source>%1: is far too large for a look</source>
        <translation>%1: ist viel zu groß für einen Look</translation>
    </message>
</context>
<context>
    <name>OutputFile</name>
    <message>
        <source>%1: not enough memory to render the picture</source>
        <translation>%1: nicht genug Speicher, um das Bild zu berechnen</translation>
    </message>
    <message>
        <source>%1: cannot encode the JPEG (%2)</source>
        <translation>%1: JPEG kann nicht kodiert werden (%2)</translation>
    </message>
    <message>
        <source>%1: WebP holds at most %2 pixels a side, not %3</source>
        <translation>%1: WebP erlaubt höchstens %2 Pixel pro Seite, nicht %3</translation>
    </message>
    <message>
        <source>%1: cannot encode the WebP picture</source>
        <translation>%1: WebP-Bild kann nicht kodiert werden</translation>
    </message>
    <message>
        <source>%1: cannot add the metadata to the WebP picture</source>
        <translation>%1: Metadaten können dem WebP-Bild nicht hinzugefügt werden</translation>
    </message>
    <message>
        <source>%1: nothing to write</source>
        <translation>%1: nichts zu schreiben</translation>
    </message>
    <message>
        <source>%1: unknown format</source>
        <translation>%1: unbekanntes Format</translation>
    </message>
</context>
<context>
    <name>Preset</name>
    <message>
        <source>Classic Planet</source>
        <translation>Klassischer Planet</translation>
    </message>
    <message>
        <source>Sky World</source>
        <translation>Himmelswelt</translation>
    </message>
    <message>
        <source>Horizontal</source>
        <translation>Horizontal</translation>
    </message>
    <message>
        <source>Spiral Planet</source>
        <translation>Spiralplanet</translation>
    </message>
    <message>
        <source>Double Vision</source>
        <translation>Doppelbild</translation>
    </message>
</context>
<context>
    <name>Setting</name>
    <message>
        <source>Zoom</source>
        <translation>Zoom</translation>
    </message>
    <message>
        <source>Rotate</source>
        <translation>Drehung</translation>
    </message>
    <message>
        <source>Flip X</source>
        <translation>Kippen X</translation>
    </message>
    <message>
        <source>Flip Y</source>
        <translation>Kippen Y</translation>
    </message>
    <message>
        <source>Shift Y</source>
        <translation>Verschieben Y</translation>
    </message>
    <message>
        <source>Shift X</source>
        <translation>Verschieben X</translation>
    </message>
    <message>
        <source>Twist</source>
        <translation>Drall</translation>
    </message>
    <message>
        <source>Convexity</source>
        <translation>Wölbung</translation>
    </message>
    <message>
        <source>Repeats</source>
        <translation>Wiederholungen</translation>
    </message>
    <message>
        <source>Seam Blend</source>
        <translation>Nahtübergang</translation>
    </message>
    <message>
        <source>Invert</source>
        <translation>Umkehren</translation>
    </message>
    <message>
        <source>Coverage</source>
        <translation>Abdeckung</translation>
    </message>
    <message>
        <source>Gamma</source>
        <translation>Gamma</translation>
    </message>
    <message>
        <source>Contrast</source>
        <translation>Kontrast</translation>
    </message>
    <message>
        <source>Saturation</source>
        <translation>Sättigung</translation>
    </message>
    <message>
        <source>Vignette</source>
        <translation>Vignette</translation>
    </message>
    <message>
        <source>Automatic</source>
        <translation>Automatisch</translation>
    </message>
    <message>
        <source>Full sphere</source>
        <translation>Ganze Kugel</translation>
    </message>
    <message>
        <source>Off</source>
        <translation>Aus</translation>
    </message>
    <message>
        <source>B&amp;W</source>
        <translation>S/W</translation>
    </message>
    <message>
        <source>On</source>
        <translation>Ein</translation>
    </message>
</context>
<context>
    <name>SettingSlider</name>
    <message>
        <source>%1 down</source>
        <translation>%1 verringern</translation>
    </message>
    <message>
        <source>%1 up</source>
        <translation>%1 erhöhen</translation>
    </message>
</context>
<context>
    <name>Toast</name>
    <message>
        <source>Copied to clipboard</source>
        <translation>In die Zwischenablage kopiert</translation>
    </message>
</context>
<context>
    <name>UserArtwork</name>
    <message>
        <source>not a regular file</source>
        <translation>keine reguläre Datei</translation>
    </message>
    <message>
        <source>the drawing has no size</source>
        <translation>die Zeichnung hat keine Größe</translation>
    </message>
    <message>
        <source>%1: shipped artwork cannot be removed</source>
        <translation>%1: Mitgelieferte Grafiken können nicht entfernt werden</translation>
    </message>
</context>
<context>
    <name>velmora::MainWindow</name>
    <message>
        <source>Help</source>
        <translation>Hilfe</translation>
    </message>
    <message>
        <source>Getting Started</source>
        <translation>Erste Schritte</translation>
    </message>
    <message>
        <source>Contact Support</source>
        <translation>Support kontaktieren</translation>
    </message>
    <message>
        <source>More Apps</source>
        <translation>Weitere Apps</translation>
    </message>
</context>
<context>
    <name>velmora::PlanetCanvas</name>
    <message>
        <source>Delete layer</source>
        <translation>Ebene löschen</translation>
    </message>
</context>
<context>
    <name>velmora::ui::AnimationDialog</name>
    <message>
        <source>Export Animation</source>
        <translation>Animation exportieren</translation>
    </message>
    <message>
        <source>The planet as it is now is where the motion ends. Layers stay where they are.</source>
        <translation>Die Bewegung endet beim Planeten, wie er jetzt ist. Ebenen bleiben, wo sie sind.</translation>
    </message>
    <message>
        <source>Spin, a seamless loop</source>
        <translation>Drehung, eine nahtlose Schleife</translation>
    </message>
    <message>
        <source>Intro, unrolls into the planet</source>
        <translation>Intro, rollt sich zum Planeten auf</translation>
    </message>
    <message>
        <source>Motion</source>
        <translation>Bewegung</translation>
    </message>
    <message>
        <source>MP4 video (H.264)</source>
        <translation>MP4-Video (H.264)</translation>
    </message>
    <message>
        <source>Animated WebP</source>
        <translation>Animiertes WebP</translation>
    </message>
    <message>
        <source>Format</source>
        <translation>Format</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>Größe</translation>
    </message>
    <message>
        <source> s</source>
        <translation> s</translation>
    </message>
    <message>
        <source>Length</source>
        <translation>Länge</translation>
    </message>
    <message>
        <source>%1 frames a second</source>
        <translation>%1 Bilder pro Sekunde</translation>
    </message>
    <message>
        <source>Frame rate</source>
        <translation>Bildrate</translation>
    </message>
    <message>
        <source>Quality</source>
        <translation>Qualität</translation>
    </message>
    <message>
        <source>Export…</source>
        <translation>Exportieren…</translation>
    </message>
    <message>
        <source>%1 frames, %2</source>
        <translation>%1 Bilder, %2</translation>
    </message>
    <message>
        <source>one turn, loops without a seam</source>
        <translation>eine Umdrehung, nahtlos wiederholbar</translation>
    </message>
    <message>
        <source>unrolls for %1 s, then holds</source>
        <translation>rollt sich %1 s lang auf, dann Standbild</translation>
    </message>
</context>
<context>
    <name>velmora::ui::CanvasRegion</name>
    <message>
        <source>Drop a panorama here, or Import Photo</source>
        <translation>Panorama hierher ziehen oder „Foto importieren“</translation>
    </message>
    <message>
        <source>360° equirectangular images work best</source>
        <translation>Equirektangulare 360°-Bilder eignen sich am besten</translation>
    </message>
</context>
<context>
    <name>velmora::ui::ContentView</name>
    <message>
        <source>Save Look</source>
        <translation>Look speichern</translation>
    </message>
    <message>
        <source>Velmora looks (*.%1)</source>
        <translation>Velmora-Looks (*.%1)</translation>
    </message>
    <message>
        <source>Apply Look</source>
        <translation>Look anwenden</translation>
    </message>
    <message>
        <source>MP4 video (*.mp4)</source>
        <translation>MP4-Video (*.mp4)</translation>
    </message>
    <message>
        <source>Animated WebP (*.webp)</source>
        <translation>Animiertes WebP (*.webp)</translation>
    </message>
    <message>
        <source>GIF (*.gif)</source>
        <translation>GIF (*.gif)</translation>
    </message>
    <message>
        <source>Export Animation</source>
        <translation>Animation exportieren</translation>
    </message>
    <message>
        <source>Output</source>
        <translation>Ausgabe</translation>
    </message>
    <message>
        <source>Export Animation…</source>
        <translation>Animation exportieren…</translation>
    </message>
    <message>
        <source>A spinning planet or an intro, as MP4, animated WebP or GIF</source>
        <translation>Ein sich drehender Planet oder ein Intro, als MP4, animiertes WebP oder GIF</translation>
    </message>
    <message>
        <source>Look</source>
        <translation>Look</translation>
    </message>
    <message>
        <source>Save Look…</source>
        <translation>Look speichern…</translation>
    </message>
    <message>
        <source>Apply Look…</source>
        <translation>Look anwenden…</translation>
    </message>
    <message>
        <source>Import Photo</source>
        <translation>Foto importieren</translation>
    </message>
    <message>
        <source>Images (%1)</source>
        <translation>Bilder (%1)</translation>
    </message>
    <message>
        <source>Couldn&apos;t open %1</source>
        <translation>Öffnen fehlgeschlagen: %1</translation>
    </message>
    <message>
        <source>Couldn&apos;t paste: %1</source>
        <translation>Einfügen fehlgeschlagen: %1</translation>
    </message>
    <message>
        <source>Paste image?</source>
        <translation>Bild einfügen?</translation>
    </message>
    <message>
        <source>Pasting a new image will discard your current planet. This can&apos;t be undone.</source>
        <translation>Wenn Sie ein neues Bild einfügen, wird Ihr aktueller Planet verworfen. Das lässt sich nicht rückgängig machen.</translation>
    </message>
    <message>
        <source>Replace current edit</source>
        <translation>Aktuelle Bearbeitung ersetzen</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Couldn&apos;t save the look: %1</source>
        <translation>Look konnte nicht gespeichert werden: %1</translation>
    </message>
    <message>
        <source>Look saved</source>
        <translation>Look gespeichert</translation>
    </message>
    <message>
        <source>Couldn&apos;t apply %1</source>
        <translation>Anwenden fehlgeschlagen: %1</translation>
    </message>
    <message>
        <source>PNG image (*.png)</source>
        <translation>PNG-Bild (*.png)</translation>
    </message>
    <message>
        <source>JPEG image (*.jpg *.jpeg)</source>
        <translation>JPEG-Bild (*.jpg *.jpeg)</translation>
    </message>
    <message>
        <source>WebP image (*.webp)</source>
        <translation>WebP-Bild (*.webp)</translation>
    </message>
    <message>
        <source>TIFF image, 16 bits (*.tif *.tiff)</source>
        <translation>TIFF-Bild, 16 Bit (*.tif *.tiff)</translation>
    </message>
    <message>
        <source>Export</source>
        <translation>Exportieren</translation>
    </message>
    <message>
        <source>Couldn&apos;t export %1: %2</source>
        <translation>Export nach %1 fehlgeschlagen: %2</translation>
    </message>
    <message>
        <source>Couldn&apos;t export %1</source>
        <translation>Export fehlgeschlagen: %1</translation>
    </message>
    <message>
        <source>Couldn&apos;t copy: %1</source>
        <translation>Kopieren fehlgeschlagen: %1</translation>
    </message>
    <message>
        <source>Copied to clipboard</source>
        <translation>In die Zwischenablage kopiert</translation>
    </message>
    <message>
        <source>Exporting %1</source>
        <translation>%1 wird exportiert</translation>
    </message>
    <message>
        <source>Exported %1</source>
        <translation>%1 exportiert</translation>
    </message>
    <message>
        <source>Animation cancelled, nothing was written</source>
        <translation>Animation abgebrochen, es wurde nichts geschrieben</translation>
    </message>
</context>
<context>
    <name>velmora::ui::Header</name>
    <message>
        <source>Tiny planet photo studio</source>
        <translation>Tiny-Planet-Fotostudio</translation>
    </message>
    <message>
        <source>Undo</source>
        <translation>Rückgängig</translation>
    </message>
    <message>
        <source>Redo</source>
        <translation>Wiederholen</translation>
    </message>
    <message>
        <source>Import Photo</source>
        <translation>Foto importieren</translation>
    </message>
    <message>
        <source>Export</source>
        <translation>Exportieren</translation>
    </message>
    <message>
        <source>Layers</source>
        <translation>Ebenen</translation>
    </message>
    <message>
        <source>Minimise</source>
        <translation>Minimieren</translation>
    </message>
    <message>
        <source>Maximise</source>
        <translation>Maximieren</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
    <message>
        <source>Restore</source>
        <translation>Wiederherstellen</translation>
    </message>
</context>
<context>
    <name>velmora::ui::JobPanel</name>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Stopping…</source>
        <translation>Wird angehalten…</translation>
    </message>
    <message>
        <source>%1 of %2</source>
        <translation>%1 von %2</translation>
    </message>
    <message>
        <source>Starting…</source>
        <translation>Wird gestartet…</translation>
    </message>
</context>
<context>
    <name>velmora::ui::Sidebar</name>
    <message>
        <source>Presets</source>
        <translation>Voreinstellungen</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source>Adjust</source>
        <translation>Korrekturen</translation>
    </message>
    <message>
        <source>Reset</source>
        <translation>Zurücksetzen</translation>
    </message>
    <message>
        <source>Tip: wide landscape photos and 360° panoramas create the best tiny planets.</source>
        <translation>Tipp: Weite Landschaftsfotos und 360°-Panoramen ergeben die schönsten kleinen Planeten.</translation>
    </message>
</context>
</TS>
