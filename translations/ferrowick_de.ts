<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>ZKAddressPanel</name>
    <message>
        <source>Address</source>
        <translation>Adresse</translation>
    </message>
    <message>
        <source>&amp;Address:</source>
        <translation>&amp;Adresse:</translation>
    </message>
    <message>
        <source>Add</source>
        <translation>Hinzufügen</translation>
    </message>
    <message>
        <source>Clear Recent</source>
        <translation>Verlauf leeren</translation>
    </message>
    <message>
        <source>Forget the addresses used before</source>
        <translation>Die zuvor verwendeten Adressen vergessen</translation>
    </message>
</context>
<context>
    <name>ZKAnalyseCopyOperation</name>
    <message>
        <source>&apos;%1&apos; already exists.</source>
        <translation>„%1“ ist bereits vorhanden.</translation>
    </message>
</context>
<context>
    <name>ZKAppDelegate</name>
    <message>
        <source>Preferences...</source>
        <translation>Einstellungen …</translation>
    </message>
</context>
<context>
    <name>ZKByteCountFormatter</name>
    <message numerus="yes">
        <source>%n bytes</source>
        <translation>
            <numerusform>%n Byte</numerusform>
            <numerusform>%n Bytes</numerusform>
        </translation>
    </message>
    <message>
        <source>Unknown</source>
        <translation>Unbekannt</translation>
    </message>
</context>
<context>
    <name>ZKCommandLine</name>
    <message numerus="yes">
        <source>%n task entries of &quot;%1&quot; cannot be read and are kept unread; %2</source>
        <translation>
            <numerusform>%n Aufgabeneintrag von „%1“ kann nicht gelesen werden und bleibt ungelesen erhalten; %2</numerusform>
            <numerusform>%n Aufgabeneinträge von „%1“ können nicht gelesen werden und bleiben ungelesen erhalten; %2</numerusform>
        </translation>
    </message>
    <message>
        <source>  entry %1: %2</source>
        <translation>  Eintrag %1: %2</translation>
    </message>
    <message>
        <source>Show diagnostic log lines.</source>
        <translation>Diagnosezeilen des Protokolls anzeigen.</translation>
    </message>
    <message>
        <source>What to do when an item exists, or cannot be read or written: ask, skip, replace or cancel.</source>
        <translation>Was geschieht, wenn ein Objekt schon vorhanden ist oder sich nicht lesen oder schreiben lässt: ask (fragen), skip (überspringen), replace (ersetzen) oder cancel (abbrechen).</translation>
    </message>
    <message>
        <source>Try a failed task up to N more times.</source>
        <translation>Eine fehlgeschlagene Aufgabe bis zu N weitere Male versuchen.</translation>
    </message>
    <message>
        <source>Wait this many seconds before each retry.</source>
        <translation>Vor jedem neuen Versuch so viele Sekunden warten.</translation>
    </message>
    <message>
        <source>Trust and record the key of an SSH server that no known_hosts file holds yet.</source>
        <translation>Dem Schlüssel eines SSH-Servers, den noch keine known_hosts-Datei enthält, vertrauen und ihn speichern.</translation>
    </message>
    <message>
        <source>Usage:
  ferrowick-cli copy SOURCE... DESTINATION [options]
  ferrowick-cli move SOURCE... DESTINATION [options]
  ferrowick-cli run FILE.queue [options]
  ferrowick-cli show FILE.queue
  ferrowick-cli trust FINGERPRINT
  ferrowick-cli demo
  ferrowick-cli --version

Options of copy and move:
  --verify                 compare every copy with its source afterwards
  --limit RATE             at most RATE bytes per second (500K, 10M, 1G)
  --on-conflict POLICY     ask, skip, replace or cancel (default: ask)
  --save FILE.queue        keep the queue in FILE.queue, to resume it with run
  --password-stdin         read the password of ftp:// and sftp://USER@HOST/...
                           addresses from the first line of stdin (otherwise
                           the password store is asked; saved queues keep it
                           there)
  --retry N                try a failed task up to N more times, after the
                           queue&apos;s automatic retry delay
  --retry-delay SECONDS    wait SECONDS before each retry instead
  --accept-new-host-key    trust and record the key of an SSH server met for the
                           first time (a changed key is always refused)
  --verbose                show diagnostic log lines

Options of run:
  --on-conflict POLICY     ask, skip, replace or cancel (default: ask)
  --retry N                as for copy and move
  --retry-delay SECONDS    as for copy and move
  --accept-new-host-key    as for copy and move
  --password-stdin         read the password of the queue&apos;s FTP accounts from
                           the first line of stdin
  --verbose                show diagnostic log lines
Tasks saved as failed are tried once more; a removal of sources that was cut
short is finished.

trust takes the SHA-256 fingerprint that the refusal of an ftps:// or https://
server names, and trusts that certificate from then on, whoever signed it.
</source>
        <translation>Aufruf:
  ferrowick-cli copy QUELLE … ZIEL [Optionen]
  ferrowick-cli move QUELLE … ZIEL [Optionen]
  ferrowick-cli run DATEI.queue [Optionen]
  ferrowick-cli show DATEI.queue
  ferrowick-cli trust FINGERABDRUCK
  ferrowick-cli demo
  ferrowick-cli --version

Optionen von copy und move:
  --verify                 jede Kopie danach mit ihrer Quelle vergleichen
  --limit RATE             höchstens RATE Bytes pro Sekunde (500K, 10M, 1G)
  --on-conflict REGEL      ask, skip, replace oder cancel (Vorgabe: ask)
  --save DATEI.queue       die Warteschlange in DATEI.queue festhalten, um sie
                           mit run fortzusetzen
  --password-stdin         das Passwort von ftp://- und sftp://BENUTZER@RECHNER/…-
                           Adressen aus der ersten Zeile der Standardeingabe lesen
                           (sonst wird die Passwortverwaltung gefragt;
                           gespeicherte Warteschlangen behalten es dort)
  --retry N                eine fehlgeschlagene Aufgabe bis zu N weitere Male
                           versuchen, nach der automatischen Wartezeit der
                           Warteschlange
  --retry-delay SEKUNDEN   stattdessen vor jedem neuen Versuch SEKUNDEN warten
  --accept-new-host-key    dem Schlüssel eines erstmals angetroffenen SSH-Servers
                           vertrauen und ihn speichern (ein geänderter Schlüssel
                           wird immer abgelehnt)
  --verbose                Diagnosezeilen des Protokolls anzeigen

Optionen von run:
  --on-conflict REGEL      ask, skip, replace oder cancel (Vorgabe: ask)
  --retry N                wie bei copy und move
  --retry-delay SEKUNDEN   wie bei copy und move
  --accept-new-host-key    wie bei copy und move
  --password-stdin         das Passwort der FTP-Zugänge der Warteschlange aus der
                           ersten Zeile der Standardeingabe lesen
  --verbose                Diagnosezeilen des Protokolls anzeigen
Als fehlgeschlagen gespeicherte Aufgaben werden noch einmal versucht; ein
abgebrochenes Entfernen von Quellen wird zu Ende geführt.

trust nimmt den SHA-256-Fingerabdruck, den die Ablehnung eines ftps://- oder
https://-Servers nennt, und vertraut diesem Zertifikat von da an, gleich wer es
signiert hat.
</translation>
    </message>
    <message>
        <source>Verify every copy.</source>
        <translation>Jede Kopie überprüfen.</translation>
    </message>
    <message>
        <source>Speed limit.</source>
        <translation>Geschwindigkeitsbegrenzung.</translation>
    </message>
    <message>
        <source>Queue file.</source>
        <translation>Warteschlangendatei.</translation>
    </message>
    <message>
        <source>Read the FTP password from stdin.</source>
        <translation>Das FTP-Passwort von der Standardeingabe lesen.</translation>
    </message>
    <message>
        <source>&apos;%1&apos; cannot be a destination.</source>
        <translation>„%1“ kann kein Ziel sein.</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is neither a file, nor an FTP or web address.</source>
        <translation>„%1“ ist weder eine Datei noch eine FTP- oder Web-Adresse.</translation>
    </message>
    <message>
        <source>Read the password of the queue&apos;s FTP accounts from stdin.</source>
        <translation>Das Passwort der FTP-Zugänge der Warteschlange von der Standardeingabe lesen.</translation>
    </message>
    <message>
        <source>saving the queue writes them back unchanged.</source>
        <translation>beim Speichern der Warteschlange werden sie unverändert zurückgeschrieben.</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is not a SHA-256 fingerprint (64 hexadecimal digits, colons allowed).</source>
        <translation>„%1“ ist kein SHA-256-Fingerabdruck (64 Hexadezimalziffern, Doppelpunkte erlaubt).</translation>
    </message>
    <message>
        <source>Trusting the certificate %1.
</source>
        <translation>Dem Zertifikat %1 wird vertraut.
</translation>
    </message>
    <message>
        <source>the file is left as it is.</source>
        <translation>die Datei bleibt, wie sie ist.</translation>
    </message>
    <message>
        <source>No temporary folder for the demonstration.</source>
        <translation>Kein temporärer Ordner für die Vorführung.</translation>
    </message>
    <message>
        <source>Copying a generated sample folder with verification, limited to 8 MB/s so the progress can be followed.</source>
        <translation>Ein erzeugter Beispielordner wird mit Überprüfung kopiert, begrenzt auf 8 MB/s, damit sich der Fortschritt verfolgen lässt.</translation>
    </message>
    <message>
        <source>Done. Try it on your own files:</source>
        <translation>Fertig. Probieren Sie es mit Ihren eigenen Dateien:</translation>
    </message>
    <message>
        <source>%1 of %2</source>
        <comment>bytes copied of a task&apos;s total</comment>
        <translation>%1 von %2</translation>
    </message>
</context>
<context>
    <name>ZKCopyTask</name>
    <message>
        <source>Do you want to delete the partially copied file &apos;%1&apos;?</source>
        <translation>Möchten Sie die teilweise kopierte Datei „%1“ löschen?</translation>
    </message>
    <message>
        <source>Copy &quot;%1&quot; to &quot;%2&quot;</source>
        <translation>„%1“ nach „%2“ kopieren</translation>
    </message>
    <message>
        <source>Copying &quot;%1&quot; to &quot;%2&quot;</source>
        <translation>„%1“ wird nach „%2“ kopiert</translation>
    </message>
    <message>
        <source>Copied &quot;%1&quot; to &quot;%2&quot;</source>
        <translation>„%1“ nach „%2“ kopiert</translation>
    </message>
    <message>
        <source>Move &quot;%1&quot; to &quot;%2&quot;</source>
        <translation>„%1“ nach „%2“ verschieben</translation>
    </message>
    <message>
        <source>Moving &quot;%1&quot; to &quot;%2&quot;</source>
        <translation>„%1“ wird nach „%2“ verschoben</translation>
    </message>
    <message>
        <source>Moved &quot;%1&quot; to &quot;%2&quot;</source>
        <translation>„%1“ nach „%2“ verschoben</translation>
    </message>
    <message>
        <source>Download &quot;%1&quot; to &quot;%2&quot;</source>
        <translation>„%1“ nach „%2“ herunterladen</translation>
    </message>
    <message>
        <source>Downloading &quot;%1&quot; to &quot;%2&quot;</source>
        <translation>„%1“ wird nach „%2“ heruntergeladen</translation>
    </message>
    <message>
        <source>Downloaded &quot;%1&quot; to &quot;%2&quot;</source>
        <translation>„%1“ nach „%2“ heruntergeladen</translation>
    </message>
    <message>
        <source>Verify &quot;%1&quot;</source>
        <translation>„%1“ überprüfen</translation>
    </message>
    <message>
        <source>Verifying &quot;%1&quot;</source>
        <translation>„%1“ wird überprüft</translation>
    </message>
    <message>
        <source>%1 of %2</source>
        <translation>%1 von %2</translation>
    </message>
    <message>
        <source>Waiting</source>
        <translation>Wartet</translation>
    </message>
    <message>
        <source>Analysing...</source>
        <translation>Wird analysiert …</translation>
    </message>
    <message>
        <source>Removing...</source>
        <translation>Wird entfernt …</translation>
    </message>
    <message>
        <source>%1 - done</source>
        <translation>%1 – fertig</translation>
    </message>
    <message>
        <source>Failed: %1</source>
        <translation>Fehlgeschlagen: %1</translation>
    </message>
    <message>
        <source>Cancelling...</source>
        <translation>Wird abgebrochen …</translation>
    </message>
    <message>
        <source>Cancelled</source>
        <translation>Abgebrochen</translation>
    </message>
    <message numerus="yes">
        <source>%1 of %n files</source>
        <translation>
            <numerusform>%1 von %Ln Datei</numerusform>
            <numerusform>%1 von %Ln Dateien</numerusform>
        </translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>Keep</source>
        <translation>Behalten</translation>
    </message>
</context>
<context>
    <name>ZKDesktopSshPrompter</name>
    <message>
        <source>Ferrowick</source>
        <translation>Ferrowick</translation>
    </message>
    <message>
        <source>The authenticity of host &apos;%1&apos; can&apos;t be established.</source>
        <translation>Die Echtheit des Rechners „%1“ kann nicht festgestellt werden.</translation>
    </message>
    <message>
        <source>%1 key fingerprint is %2.

Connect only if you know this is the server&apos;s key; it is then remembered in ~/.ssh/known_hosts, as ssh does.</source>
        <translation>Der Fingerabdruck des %1-Schlüssels ist %2.

Verbinden Sie nur, wenn Sie wissen, dass dies der Schlüssel des Servers ist; er wird dann wie bei ssh in ~/.ssh/known_hosts gespeichert.</translation>
    </message>
    <message>
        <source>Connect</source>
        <translation>Verbinden</translation>
    </message>
    <message>
        <source>&amp;Remember in the password store</source>
        <translation>In der Passwortverwaltung &amp;merken</translation>
    </message>
</context>
<context>
    <name>ZKDestinationPopUpButton</name>
    <message>
        <source>Destination</source>
        <translation>Ziel</translation>
    </message>
    <message>
        <source>Default Destination</source>
        <translation>Standardziel</translation>
    </message>
    <message>
        <source>Any Folder</source>
        <translation>Beliebiger Ordner</translation>
    </message>
    <message>
        <source>Choose Folder...</source>
        <translation>Ordner wählen …</translation>
    </message>
    <message>
        <source>Choose FTP...</source>
        <translation>FTP-Server wählen …</translation>
    </message>
    <message>
        <source>Recent Places</source>
        <translation>Zuletzt verwendete Orte</translation>
    </message>
    <message>
        <source>Clear Menu</source>
        <translation>Menü leeren</translation>
    </message>
</context>
<context>
    <name>ZKDocumentController</name>
    <message>
        <source>Ferrowick</source>
        <translation>Ferrowick</translation>
    </message>
    <message>
        <source>The queue “%1” could not be opened.</source>
        <translation>Die Warteschlange „%1“ konnte nicht geöffnet werden.</translation>
    </message>
    <message>
        <source>Open Queue</source>
        <translation>Warteschlange öffnen</translation>
    </message>
    <message>
        <source>Ferrowick queues (*.queue)</source>
        <translation>Ferrowick-Warteschlangen (*.queue)</translation>
    </message>
    <message>
        <source>This queue was recovered after Ferrowick stopped unexpectedly. Save it to keep it.</source>
        <translation>Diese Warteschlange wurde wiederhergestellt, nachdem Ferrowick unerwartet beendet wurde. Speichern Sie sie, um sie zu behalten.</translation>
    </message>
    <message>
        <source>Untitled</source>
        <translation>Unbenannt</translation>
    </message>
    <message>
        <source>Untitled %1</source>
        <translation>Unbenannt %1</translation>
    </message>
    <message>
        <source>New Queue</source>
        <translation>Neue Warteschlange</translation>
    </message>
    <message>
        <source>Open...</source>
        <translation>Öffnen …</translation>
    </message>
    <message>
        <source>Revert to Saved</source>
        <translation>Gespeicherte Version wiederherstellen</translation>
    </message>
</context>
<context>
    <name>ZKEndpointErrors</name>
    <message>
        <source>Invalid path: &apos;%1&apos;</source>
        <translation>Ungültiger Pfad: „%1“</translation>
    </message>
    <message>
        <source>Unable to create the folder &apos;%1&apos;: a symbolic link stands in its place.</source>
        <translation>Der Ordner „%1“ kann nicht erstellt werden: An seiner Stelle steht eine symbolische Verknüpfung.</translation>
    </message>
    <message>
        <source>Unable to create &apos;%1&apos;: a symbolic link stands in its place.</source>
        <translation>„%1“ kann nicht erstellt werden: An seiner Stelle steht eine symbolische Verknüpfung.</translation>
    </message>
    <message>
        <source>Unable to open &apos;%1&apos; as a file.</source>
        <translation>„%1“ kann nicht als Datei geöffnet werden.</translation>
    </message>
    <message>
        <source>Unable to create &apos;%1&apos;: %2.</source>
        <translation>„%1“ kann nicht erstellt werden: %2.</translation>
    </message>
    <message>
        <source>Unable to open &apos;%1&apos;: %2.</source>
        <translation>„%1“ kann nicht geöffnet werden: %2.</translation>
    </message>
    <message>
        <source>Unable to open &apos;%1&apos;: it is not a regular file.</source>
        <translation>„%1“ kann nicht geöffnet werden: Es ist keine reguläre Datei.</translation>
    </message>
    <message>
        <source>Unable to seek to end of file &apos;%1&apos;: %2</source>
        <translation>Das Ende der Datei „%1“ kann nicht angesteuert werden: %2</translation>
    </message>
    <message>
        <source>Unable to access &apos;%1&apos;: another process is writing to the file.</source>
        <translation>Kein Zugriff auf „%1“: Ein anderer Prozess schreibt in die Datei.</translation>
    </message>
    <message>
        <source>Unable to write data to unopened file &apos;%1&apos;.</source>
        <translation>In die nicht geöffnete Datei „%1“ können keine Daten geschrieben werden.</translation>
    </message>
    <message>
        <source>Unable to write data to &apos;%1&apos;: %2.</source>
        <translation>In „%1“ können keine Daten geschrieben werden: %2.</translation>
    </message>
    <message>
        <source>Cannot create a directory in &apos;%1&apos;.</source>
        <translation>In „%1“ kann kein Ordner erstellt werden.</translation>
    </message>
    <message>
        <source>Cannot create a file in &apos;%1&apos;.</source>
        <translation>In „%1“ kann keine Datei erstellt werden.</translation>
    </message>
    <message>
        <source>Cannot create a symbolic link in &apos;%1&apos;.</source>
        <translation>In „%1“ kann keine symbolische Verknüpfung erstellt werden.</translation>
    </message>
    <message>
        <source>Unable to create the folder &apos;%1&apos;: %2.</source>
        <translation>Der Ordner „%1“ kann nicht erstellt werden: %2.</translation>
    </message>
    <message>
        <source>Unable to create the symbolic link &apos;%1&apos;: %2.</source>
        <translation>Die symbolische Verknüpfung „%1“ kann nicht erstellt werden: %2.</translation>
    </message>
    <message>
        <source>Unable to remove &apos;%1&apos;: %2.</source>
        <translation>„%1“ kann nicht entfernt werden: %2.</translation>
    </message>
    <message>
        <source>A file named &apos;%1&apos; already exists.</source>
        <translation>Eine Datei namens „%1“ ist bereits vorhanden.</translation>
    </message>
    <message>
        <source>Unable to rename &apos;%1&apos;: %2.</source>
        <translation>„%1“ kann nicht umbenannt werden: %2.</translation>
    </message>
    <message>
        <source>Invalid file path: &apos;%1&apos;</source>
        <translation>Ungültiger Dateipfad: „%1“</translation>
    </message>
    <message>
        <source>Unable to determine the size of &apos;%1&apos;: %2</source>
        <translation>Die Größe von „%1“ kann nicht ermittelt werden: %2</translation>
    </message>
    <message>
        <source>Unable to resolve symbolic link &apos;%1&apos;: %2</source>
        <translation>Die symbolische Verknüpfung „%1“ kann nicht aufgelöst werden: %2</translation>
    </message>
    <message>
        <source>Unable to read from &apos;%1&apos;: %2.</source>
        <translation>Aus „%1“ kann nicht gelesen werden: %2.</translation>
    </message>
    <message>
        <source>Unable to read from &apos;%1&apos;: the block is too large.</source>
        <translation>Aus „%1“ kann nicht gelesen werden: Der Block ist zu groß.</translation>
    </message>
    <message>
        <source>Unable to read from &apos;%1&apos;: the file became shorter while it was read (%2 bytes expected, it ends at %3).</source>
        <translation>Aus „%1“ kann nicht gelesen werden: Die Datei wurde beim Lesen kürzer (%2 Bytes erwartet, sie endet bei %3).</translation>
    </message>
    <message>
        <source>The name of &apos;%1&apos; is not valid UTF-8.</source>
        <translation>Der Name von „%1“ ist kein gültiges UTF-8.</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is not a regular file, folder or link.</source>
        <translation>„%1“ ist weder eine reguläre Datei noch ein Ordner oder eine Verknüpfung.</translation>
    </message>
    <message>
        <source>The target of the link &apos;%1&apos; is not valid UTF-8.</source>
        <translation>Das Ziel der Verknüpfung „%1“ ist kein gültiges UTF-8.</translation>
    </message>
    <message>
        <source>Invalid url: &apos;%1&apos;</source>
        <translation>Ungültige Adresse: „%1“</translation>
    </message>
    <message>
        <source>The server at %1 sent bytes of an invalid range.</source>
        <translation>Der Server %1 hat Bytes aus einem ungültigen Bereich gesendet.</translation>
    </message>
    <message>
        <source>The server at %1 sent bytes from %2 on when asked for bytes from %3 on.</source>
        <translation>Der Server %1 hat Bytes ab %2 gesendet, obwohl Bytes ab %3 angefordert wurden.</translation>
    </message>
    <message>
        <source>The server answered %1 for &apos;%2&apos;.</source>
        <translation>Der Server hat für „%2“ mit %1 geantwortet.</translation>
    </message>
    <message>
        <source>The connection to %1 closed after %2 of %3 bytes.</source>
        <translation>Die Verbindung zu %1 wurde nach %2 von %3 Bytes geschlossen.</translation>
    </message>
    <message>
        <source>Timed out waiting for response from %1.</source>
        <translation>Zeitüberschreitung beim Warten auf eine Antwort von %1.</translation>
    </message>
    <message>
        <source>Timed out waiting for data from %1.</source>
        <translation>Zeitüberschreitung beim Warten auf Daten von %1.</translation>
    </message>
</context>
<context>
    <name>ZKFerrowickDocument</name>
    <message>
        <source>Untitled</source>
        <translation>Unbenannt</translation>
    </message>
    <message>
        <source>Retry (Auto retry after %1)</source>
        <translation>Wiederholen (automatisch nach %1)</translation>
    </message>
    <message>
        <source>Retry</source>
        <translation>Wiederholen</translation>
    </message>
    <message>
        <source>Clear (Auto clear on)</source>
        <translation>Entfernen (automatisches Entfernen an)</translation>
    </message>
    <message>
        <source>Clear</source>
        <translation>Entfernen</translation>
    </message>
    <message>
        <source> - retrying in %1</source>
        <translation> – neuer Versuch in %1</translation>
    </message>
</context>
<context>
    <name>ZKFileBrowser</name>
    <message>
        <source>“%1” cannot be shown: no file manager answered, and no program opened the folder “%2”.</source>
        <translation>„%1“ kann nicht angezeigt werden: Keine Dateiverwaltung hat geantwortet, und kein Programm hat den Ordner „%2“ geöffnet.</translation>
    </message>
</context>
<context>
    <name>ZKFtpErrors</name>
    <message>
        <source>No host specified.</source>
        <translation>Kein Rechner angegeben.</translation>
    </message>
    <message>
        <source>Released connection too many times.</source>
        <translation>Verbindung zu oft freigegeben.</translation>
    </message>
    <message>
        <source>Cannot send request: client is not connected.</source>
        <translation>Anfrage kann nicht gesendet werden: Der Client ist nicht verbunden.</translation>
    </message>
    <message>
        <source>Cannot send request: the parameter of %1 holds a line break or a NUL character.</source>
        <translation>Anfrage kann nicht gesendet werden: Der Parameter von %1 enthält einen Zeilenumbruch oder ein NUL-Zeichen.</translation>
    </message>
    <message>
        <source>The server did not answer within the time limit (%1 s).</source>
        <translation>Der Server hat nicht innerhalb der Zeitgrenze geantwortet (%1 s).</translation>
    </message>
    <message>
        <source>Cannot read response: client is not connected.</source>
        <translation>Antwort kann nicht gelesen werden: Der Client ist nicht verbunden.</translation>
    </message>
    <message>
        <source>The server closed the connection.</source>
        <translation>Der Server hat die Verbindung geschlossen.</translation>
    </message>
    <message>
        <source>Unable to parse response &apos;%1&apos;</source>
        <translation>Die Antwort „%1“ kann nicht ausgewertet werden</translation>
    </message>
    <message>
        <source>Unable to parse response &apos;%1&apos;: a passive address is six numbers from 0 to 255 naming a port</source>
        <translation>Die Antwort „%1“ kann nicht ausgewertet werden: Eine passive Adresse besteht aus sechs Zahlen von 0 bis 255, die einen Port benennen</translation>
    </message>
    <message>
        <source>The server did not accept renaming &apos;%1&apos;: %2</source>
        <translation>Der Server hat das Umbenennen von „%1“ nicht angenommen: %2</translation>
    </message>
    <message>
        <source>The server did not finish renaming &apos;%1&apos; to &apos;%2&apos;: %3</source>
        <translation>Der Server hat das Umbenennen von „%1“ in „%2“ nicht abgeschlossen: %3</translation>
    </message>
    <message>
        <source>The server sent a listing that is not valid UTF-8.</source>
        <translation>Der Server hat eine Auflistung gesendet, die kein gültiges UTF-8 ist.</translation>
    </message>
    <message>
        <source>Invalid response from ftp server: &apos;%1&apos;</source>
        <translation>Ungültige Antwort vom FTP-Server: „%1“</translation>
    </message>
    <message>
        <source>Error code %1</source>
        <translation>Fehlercode %1</translation>
    </message>
    <message>
        <source>socket is not connected</source>
        <translation>Socket ist nicht verbunden</translation>
    </message>
    <message>
        <source>The server took no data within the time limit (%1 s).</source>
        <translation>Der Server hat innerhalb der Zeitgrenze keine Daten angenommen (%1 s).</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is not a network address</source>
        <translation>„%1“ ist keine Netzwerkadresse</translation>
    </message>
    <message>
        <source>Unrecognised host name &apos;%1&apos;</source>
        <translation>Unbekannter Rechnername „%1“</translation>
    </message>
    <message>
        <source>Sending over TLS failed: %1</source>
        <translation>Senden über TLS fehlgeschlagen: %1</translation>
    </message>
    <message>
        <source>Receiving over TLS failed: %1</source>
        <translation>Empfangen über TLS fehlgeschlagen: %1</translation>
    </message>
    <message>
        <source>The TLS handshake with %1 failed: %2</source>
        <translation>Der TLS-Handshake mit %1 ist fehlgeschlagen: %2</translation>
    </message>
    <message>
        <source>Timed out while sending: %1 bytes were never taken</source>
        <translation>Zeitüberschreitung beim Senden: %1 Bytes wurden nie angenommen</translation>
    </message>
    <message>
        <source>the connection was cut</source>
        <translation>die Verbindung wurde unterbrochen</translation>
    </message>
    <message>
        <source>it sent none</source>
        <translation>er hat keines gesendet</translation>
    </message>
    <message>
        <source>Unable to connect to %1: %2</source>
        <translation>Verbindung zu %1 nicht möglich: %2</translation>
    </message>
    <message>
        <source>Unable to log in to %1: %2</source>
        <translation>Anmeldung bei %1 nicht möglich: %2</translation>
    </message>
    <message>
        <source>unknown error</source>
        <translation>unbekannter Fehler</translation>
    </message>
    <message>
        <source>Invalid url: &apos;%1&apos;</source>
        <translation>Ungültige Adresse: „%1“</translation>
    </message>
    <message>
        <source>No file or folder specified: &apos;%1&apos;</source>
        <translation>Keine Datei und kein Ordner angegeben: „%1“</translation>
    </message>
    <message>
        <source>Unable to find path &apos;%1&apos;: %2</source>
        <translation>Der Pfad „%1“ wurde nicht gefunden: %2</translation>
    </message>
    <message>
        <source>Unable to open file &apos;%1&apos;: %2</source>
        <translation>Die Datei „%1“ kann nicht geöffnet werden: %2</translation>
    </message>
    <message>
        <source>Unable to open file &apos;%1&apos;: No such file or directory</source>
        <translation>Die Datei „%1“ kann nicht geöffnet werden: Datei oder Ordner nicht vorhanden</translation>
    </message>
    <message>
        <source>Unable to read file &apos;%1&apos;: %2</source>
        <translation>Die Datei „%1“ kann nicht gelesen werden: %2</translation>
    </message>
    <message>
        <source>Unable to read file &apos;%1&apos;: the data connection closed after %2 of %3 bytes</source>
        <translation>Die Datei „%1“ kann nicht gelesen werden: Die Datenverbindung wurde nach %2 von %3 Bytes geschlossen</translation>
    </message>
    <message>
        <source>Unable to list files in the top folder of %1: %2</source>
        <translation>Die Dateien im obersten Ordner von %1 können nicht aufgelistet werden: %2</translation>
    </message>
    <message>
        <source>Unable to list files in directory &apos;/%1&apos; on %2: %3</source>
        <translation>Die Dateien im Ordner „/%1“ auf %2 können nicht aufgelistet werden: %3</translation>
    </message>
    <message>
        <source>the server listed the entry &apos;%1&apos;, which is not a plain file name</source>
        <translation>der Server hat den Eintrag „%1“ aufgelistet, der kein einfacher Dateiname ist</translation>
    </message>
    <message>
        <source>the folders nest more than %1 levels deep</source>
        <translation>die Ordner sind mehr als %1 Ebenen tief verschachtelt</translation>
    </message>
    <message>
        <source>No folder specified: &apos;%1&apos;</source>
        <translation>Kein Ordner angegeben: „%1“</translation>
    </message>
    <message>
        <source>Unable to create directory &apos;%1&apos;: %2</source>
        <translation>Der Ordner „%1“ kann nicht erstellt werden: %2</translation>
    </message>
    <message>
        <source>Unable to write to file &apos;%1&apos;: %2</source>
        <translation>In die Datei „%1“ kann nicht geschrieben werden: %2</translation>
    </message>
    <message>
        <source>Unable to write to file &apos;%1&apos;: the server holds %2 bytes of %3</source>
        <translation>In die Datei „%1“ kann nicht geschrieben werden: Der Server hat %2 von %3 Bytes</translation>
    </message>
    <message>
        <source>Unable to write to file &apos;%1&apos;: the file is not open for writing</source>
        <translation>In die Datei „%1“ kann nicht geschrieben werden: Die Datei ist nicht zum Schreiben geöffnet</translation>
    </message>
    <message>
        <source>Cannot create a directory in &apos;%1&apos;.</source>
        <translation>In „%1“ kann kein Ordner erstellt werden.</translation>
    </message>
    <message>
        <source>Cannot create a file in &apos;%1&apos;.</source>
        <translation>In „%1“ kann keine Datei erstellt werden.</translation>
    </message>
    <message>
        <source>Cannot create a symbolic link at &apos;%1&apos;.</source>
        <translation>Bei „%1“ kann keine symbolische Verknüpfung erstellt werden.</translation>
    </message>
    <message>
        <source>Cannot remove a file from &apos;%1&apos;.</source>
        <translation>Aus „%1“ kann keine Datei entfernt werden.</translation>
    </message>
    <message>
        <source>Cannot rename a file in &apos;%1&apos;.</source>
        <translation>In „%1“ kann keine Datei umbenannt werden.</translation>
    </message>
    <message>
        <source>Unable to remove file &apos;%1&apos;: %2</source>
        <translation>Die Datei „%1“ kann nicht entfernt werden: %2</translation>
    </message>
    <message>
        <source>A file named &apos;%1&apos; already exists.</source>
        <translation>Eine Datei namens „%1“ ist bereits vorhanden.</translation>
    </message>
    <message>
        <source>Unable to rename &apos;%1&apos; to &apos;%2&apos;: %3</source>
        <translation>„%1“ kann nicht in „%2“ umbenannt werden: %3</translation>
    </message>
    <message>
        <source>cancelled</source>
        <translation>abgebrochen</translation>
    </message>
    <message>
        <source>Unable to remove contents of directory &apos;%1&apos;: %2</source>
        <translation>Der Inhalt des Ordners „%1“ kann nicht entfernt werden: %2</translation>
    </message>
    <message>
        <source>Unable to remove directory &apos;%1&apos;: the folders nest too deeply</source>
        <translation>Der Ordner „%1“ kann nicht entfernt werden: Die Ordner sind zu tief verschachtelt</translation>
    </message>
    <message>
        <source>Unable to remove directory &apos;%1&apos;: %2</source>
        <translation>Der Ordner „%1“ kann nicht entfernt werden: %2</translation>
    </message>
    <message>
        <source>Unable to read file &apos;%1&apos;: it is longer than the %2 bytes it was listed with, so it changed since it was listed</source>
        <translation>Die Datei „%1“ kann nicht gelesen werden: Sie ist länger als die %2 Bytes, mit denen sie aufgeführt wurde, und hat sich also seitdem geändert</translation>
    </message>
</context>
<context>
    <name>ZKHttpPanel</name>
    <message>
        <source>Web Address</source>
        <translation>Web-Adresse</translation>
    </message>
    <message>
        <source>https://server/file</source>
        <translation>https://server/datei</translation>
    </message>
</context>
<context>
    <name>ZKKeyChain</name>
    <message>
        <source>FTP password for %1@%2</source>
        <translation>FTP-Passwort für %1@%2</translation>
    </message>
</context>
<context>
    <name>ZKKnownHosts</name>
    <message>
        <source>&quot;%1&quot; cannot be recorded as a host name.</source>
        <translation>„%1“ kann nicht als Rechnername gespeichert werden.</translation>
    </message>
    <message>
        <source>Keys of this type cannot be recorded.</source>
        <translation>Schlüssel dieser Art können nicht gespeichert werden.</translation>
    </message>
    <message>
        <source>The key for %1 cannot be written as an entry.</source>
        <translation>Der Schlüssel für %1 kann nicht als Eintrag geschrieben werden.</translation>
    </message>
    <message>
        <source>Cannot open %1: %2</source>
        <translation>%1 kann nicht geöffnet werden: %2</translation>
    </message>
    <message>
        <source>Cannot write to %1: %2</source>
        <translation>In %1 kann nicht geschrieben werden: %2</translation>
    </message>
    <message>
        <source>Cannot create the folder %1: %2</source>
        <translation>Der Ordner %1 kann nicht angelegt werden: %2</translation>
    </message>
</context>
<context>
    <name>ZKListView</name>
    <message>
        <source>Task list</source>
        <translation>Aufgabenliste</translation>
    </message>
</context>
<context>
    <name>ZKMessageBoxPresenter</name>
    <message>
        <source>Ferrowick</source>
        <translation>Ferrowick</translation>
    </message>
    <message>
        <source>Apply to all</source>
        <translation>Auf alle anwenden</translation>
    </message>
</context>
<context>
    <name>ZKNotificationManager</name>
    <message>
        <source>Failed</source>
        <translation>Fehlgeschlagen</translation>
    </message>
    <message>
        <source>Completed</source>
        <translation>Abgeschlossen</translation>
    </message>
    <message>
        <source>Show in Folder</source>
        <translation>In Ordner anzeigen</translation>
    </message>
    <message>
        <source>Retry</source>
        <translation>Wiederholen</translation>
    </message>
</context>
<context>
    <name>ZKOpenPanel</name>
    <message>
        <source>Choose files and folders to copy.</source>
        <translation>Dateien und Ordner zum Kopieren wählen.</translation>
    </message>
    <message>
        <source>Add</source>
        <translation>Hinzufügen</translation>
    </message>
    <message>
        <source>Select</source>
        <translation>Auswählen</translation>
    </message>
</context>
<context>
    <name>ZKOperationErrors</name>
    <message>
        <source>A file named &apos;%1&apos; already exists.</source>
        <translation>Eine Datei namens „%1“ ist bereits vorhanden.</translation>
    </message>
    <message>
        <source>Cannot copy the folder &apos;%1&apos; into &apos;%2&apos;, which is inside it.</source>
        <translation>Der Ordner „%1“ kann nicht in „%2“ kopiert werden, der in ihm liegt.</translation>
    </message>
    <message>
        <source>Unable to open &apos;%1&apos;.</source>
        <translation>„%1“ kann nicht geöffnet werden.</translation>
    </message>
    <message>
        <source>Invalid path: &apos;%1&apos;</source>
        <translation>Ungültiger Pfad: „%1“</translation>
    </message>
    <message>
        <source>A folder already exists with the name &apos;%1&apos;.</source>
        <translation>Ein Ordner namens „%1“ ist bereits vorhanden.</translation>
    </message>
    <message>
        <source>Unable to read &apos;%1&apos;.</source>
        <translation>„%1“ kann nicht gelesen werden.</translation>
    </message>
    <message>
        <source>Unable to write &apos;%1&apos;.</source>
        <translation>„%1“ kann nicht geschrieben werden.</translation>
    </message>
    <message>
        <source>Cannot create a symbolic link in &apos;%1&apos;.</source>
        <translation>In „%1“ kann keine symbolische Verknüpfung erstellt werden.</translation>
    </message>
    <message>
        <source>Cannot create a directory in &apos;%1&apos;.</source>
        <translation>In „%1“ kann kein Ordner erstellt werden.</translation>
    </message>
    <message>
        <source>Cannot create a file in &apos;%1&apos;.</source>
        <translation>In „%1“ kann keine Datei erstellt werden.</translation>
    </message>
    <message>
        <source>Unable to copy &apos;%1&apos;: it changed while it was copied. The copy was removed, to be made anew.</source>
        <translation>„%1“ kann nicht kopiert werden: Die Datei hat sich beim Kopieren geändert. Die Kopie wurde entfernt und wird neu erstellt.</translation>
    </message>
    <message>
        <source>Unable to rename &apos;%1&apos; to &apos;%2&apos;.</source>
        <translation>„%1“ kann nicht in „%2“ umbenannt werden.</translation>
    </message>
    <message>
        <source>Unable to access &apos;%1&apos;: another process is writing to the file.</source>
        <translation>Kein Zugriff auf „%1“: Ein anderer Prozess schreibt in die Datei.</translation>
    </message>
    <message>
        <source>Unable to write data to &apos;%1&apos;: unknown error.</source>
        <translation>In „%1“ können keine Daten geschrieben werden: unbekannter Fehler.</translation>
    </message>
    <message>
        <source>Unable to read from &apos;%1&apos;: no data.</source>
        <translation>Aus „%1“ kann nicht gelesen werden: keine Daten.</translation>
    </message>
    <message>
        <source>Unable to remove &apos;%1&apos;.</source>
        <translation>„%1“ kann nicht entfernt werden.</translation>
    </message>
    <message>
        <source>Verification failed: %1</source>
        <translation>Überprüfung fehlgeschlagen: %1</translation>
    </message>
    <message>
        <source>Verification failed: &apos;%1&apos; could not be found.</source>
        <translation>Überprüfung fehlgeschlagen: „%1“ wurde nicht gefunden.</translation>
    </message>
    <message>
        <source>Verification failed: Unable to open &apos;%1&apos;.</source>
        <translation>Überprüfung fehlgeschlagen: „%1“ kann nicht geöffnet werden.</translation>
    </message>
    <message>
        <source>Verification failed: cannot compare a file to a directory.</source>
        <translation>Überprüfung fehlgeschlagen: Eine Datei kann nicht mit einem Ordner verglichen werden.</translation>
    </message>
    <message>
        <source>Verification failed: cannot compare a link with a file.</source>
        <translation>Überprüfung fehlgeschlagen: Eine Verknüpfung kann nicht mit einer Datei verglichen werden.</translation>
    </message>
    <message>
        <source>Verification failed: Symbolic link &apos;%1&apos; is expected to point to &apos;%2&apos; but points to &apos;%3&apos;.</source>
        <translation>Überprüfung fehlgeschlagen: Die symbolische Verknüpfung „%1“ sollte auf „%2“ zeigen, zeigt aber auf „%3“.</translation>
    </message>
    <message>
        <source>Verification failed: files are different sizes.</source>
        <translation>Überprüfung fehlgeschlagen: Die Dateien sind unterschiedlich groß.</translation>
    </message>
    <message>
        <source>Verification failed: Unable to resume at byte %1.</source>
        <translation>Überprüfung fehlgeschlagen: Fortsetzen bei Byte %1 nicht möglich.</translation>
    </message>
    <message>
        <source>Verification failed: &apos;%1&apos; ended early.</source>
        <translation>Überprüfung fehlgeschlagen: „%1“ endete zu früh.</translation>
    </message>
    <message>
        <source>Verification failed: file contents differ.</source>
        <translation>Überprüfung fehlgeschlagen: Die Dateiinhalte unterscheiden sich.</translation>
    </message>
    <message>
        <source>Cannot remove files because %1 was not copied.</source>
        <translation>Dateien können nicht entfernt werden, weil %1 nicht kopiert wurde.</translation>
    </message>
    <message>
        <source>Cannot remove files because %1 is both the source and destination.</source>
        <translation>Dateien können nicht entfernt werden, weil %1 zugleich Quelle und Ziel ist.</translation>
    </message>
    <message>
        <source>Cannot remove files because %1 is not the same size as %2.</source>
        <translation>Dateien können nicht entfernt werden, weil %1 nicht so groß ist wie %2.</translation>
    </message>
    <message>
        <source>Cannot remove files because %1 is not the same as %2.</source>
        <translation>Dateien können nicht entfernt werden, weil %1 nicht mit %2 übereinstimmt.</translation>
    </message>
</context>
<context>
    <name>ZKPreferencesWindow</name>
    <message>
        <source>%1 (not found)</source>
        <translation>%1 (nicht gefunden)</translation>
    </message>
    <message>
        <source>1 hour</source>
        <translation>1 Stunde</translation>
    </message>
    <message numerus="yes">
        <source>%n hours</source>
        <translation>
            <numerusform>%n Stunde</numerusform>
            <numerusform>%n Stunden</numerusform>
        </translation>
    </message>
    <message>
        <source>1 minute</source>
        <translation>1 Minute</translation>
    </message>
    <message numerus="yes">
        <source>%n minutes</source>
        <translation>
            <numerusform>%n Minute</numerusform>
            <numerusform>%n Minuten</numerusform>
        </translation>
    </message>
    <message>
        <source>1 second</source>
        <translation>1 Sekunde</translation>
    </message>
    <message numerus="yes">
        <source>%n seconds</source>
        <translation>
            <numerusform>%n Sekunde</numerusform>
            <numerusform>%n Sekunden</numerusform>
        </translation>
    </message>
    <message>
        <source>Other (%1)</source>
        <translation>Anderer Wert (%1)</translation>
    </message>
    <message>
        <source>Preferences</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source>Preferences pages</source>
        <translation>Seiten der Einstellungen</translation>
    </message>
    <message>
        <source>General</source>
        <translation>Allgemein</translation>
    </message>
    <message>
        <source>Defaults</source>
        <translation>Vorgaben</translation>
    </message>
    <message>
        <source>Downloads</source>
        <translation>Downloads</translation>
    </message>
    <message>
        <source>Sounds</source>
        <translation>Klänge</translation>
    </message>
    <message>
        <source>New queues &amp;start:</source>
        <translation>&amp;Zustand neuer Warteschlangen:</translation>
    </message>
    <message>
        <source>New queues start</source>
        <translation>Zustand neuer Warteschlangen</translation>
    </message>
    <message>
        <source>Running</source>
        <translation>Laufend</translation>
    </message>
    <message>
        <source>Paused</source>
        <translation>Angehalten</translation>
    </message>
    <message>
        <source>&amp;Verify files after copying</source>
        <translation>Dateien nach dem Kopieren &amp;prüfen</translation>
    </message>
    <message>
        <source>&amp;Clear completed tasks</source>
        <translation>Erledigte Aufgaben &amp;entfernen</translation>
    </message>
    <message>
        <source>&amp;Retry failed tasks after</source>
        <translation>Bei Fehlern &amp;wiederholen nach</translation>
    </message>
    <message>
        <source>Retry failed tasks after</source>
        <translation>Bei Fehlern wiederholen nach</translation>
    </message>
    <message>
        <source>New queues:</source>
        <translation>Neue Warteschlangen:</translation>
    </message>
    <message>
        <source>Summary shows:</source>
        <translation>Zusammenfassung zeigt:</translation>
    </message>
    <message>
        <source>Data r&amp;ate</source>
        <translation>Übertragungs&amp;rate</translation>
    </message>
    <message>
        <source>Data si&amp;ze</source>
        <translation>Daten&amp;menge</translation>
    </message>
    <message>
        <source>Default destination</source>
        <translation>Standardziel</translation>
    </message>
    <message>
        <source>Default &amp;destination:</source>
        <translation>Standard&amp;ziel:</translation>
    </message>
    <message>
        <source>Symbolic &amp;links:</source>
        <translation>Symbolische &amp;Links:</translation>
    </message>
    <message>
        <source>Symbolic links</source>
        <translation>Symbolische Links</translation>
    </message>
    <message>
        <source>Copy the link</source>
        <translation>Den Link kopieren</translation>
    </message>
    <message>
        <source>Copy what it points to</source>
        <translation>Das Ziel des Links kopieren</translation>
    </message>
    <message>
        <source>Leave it out</source>
        <translation>Auslassen</translation>
    </message>
    <message>
        <source>Keep:</source>
        <translation>Beibehalten:</translation>
    </message>
    <message>
        <source>C&amp;reation time</source>
        <translation>E&amp;rstellungszeit</translation>
    </message>
    <message>
        <source>&amp;Modification time</source>
        <translation>Ä&amp;nderungszeit</translation>
    </message>
    <message>
        <source>&amp;Permissions</source>
        <translation>Zugriffsr&amp;echte</translation>
    </message>
    <message>
        <source>&amp;Owner and group</source>
        <translation>Besitzer und &amp;Gruppe</translation>
    </message>
    <message>
        <source>Also copy:</source>
        <translation>Auch kopieren:</translation>
    </message>
    <message>
        <source>&amp;Hidden files (names starting with a dot)</source>
        <translation>&amp;Versteckte Dateien (Name beginnt mit Punkt)</translation>
    </message>
    <message>
        <source>Folder &amp;view settings (.DS_Store)</source>
        <translation>Ordner&amp;ansichten (.DS_Store)</translation>
    </message>
    <message>
        <source>&amp;Thumbnail caches (.Thumbs.db)</source>
        <translation>Vorschau&amp;bilder (.Thumbs.db)</translation>
    </message>
    <message>
        <source>Tr&amp;ash folders (.Trash, .Trashes)</source>
        <translation>Papier&amp;körbe (.Trash, .Trashes)</translation>
    </message>
    <message>
        <source>Search &amp;index folders (.Spotlight-V100)</source>
        <translation>Such&amp;indizes (.Spotlight-V100)</translation>
    </message>
    <message>
        <source>T&amp;emporary items (.TemporaryItems)</source>
        <translation>&amp;Temporäre Objekte (.TemporaryItems)</translation>
    </message>
    <message>
        <source>&amp;File system logs (.fseventsd, .metadata)</source>
        <translation>&amp;Dateisystem-Protokolle (.fseventsd, .metadata)</translation>
    </message>
    <message>
        <source>Network &amp;time-out:</source>
        <translation>Netzwerk-&amp;Zeitlimit:</translation>
    </message>
    <message>
        <source>Network time-out</source>
        <translation>Netzwerk-Zeitlimit</translation>
    </message>
    <message>
        <source>&amp;Limit new queues to</source>
        <translation>Neue Warteschlangen &amp;begrenzen auf</translation>
    </message>
    <message>
        <source>Speed limit in kilobytes per second</source>
        <translation>Geschwindigkeitsbegrenzung in Kilobyte pro Sekunde</translation>
    </message>
    <message>
        <source> KB/s</source>
        <translation> KB/s</translation>
    </message>
    <message>
        <source>Speed limit:</source>
        <translation>Geschwindigkeit:</translation>
    </message>
    <message>
        <source>&amp;Use a schedule in new queues</source>
        <translation>Zeitplan in neuen Warteschlangen &amp;verwenden</translation>
    </message>
    <message>
        <source>Schedule:</source>
        <translation>Zeitplan:</translation>
    </message>
    <message>
        <source>&amp;Start copying at</source>
        <translation>Kopieren &amp;starten um</translation>
    </message>
    <message>
        <source>St&amp;op copying at</source>
        <translation>Kopieren &amp;anhalten um</translation>
    </message>
    <message>
        <source>Tur&amp;n the speed limit on at</source>
        <translation>Begrenzung &amp;einschalten um</translation>
    </message>
    <message>
        <source>Turn the speed limit o&amp;ff at</source>
        <translation>Begrenzung a&amp;usschalten um</translation>
    </message>
    <message>
        <source>When a queue &amp;completes:</source>
        <translation>Wenn eine Warteschlange &amp;fertig ist:</translation>
    </message>
    <message>
        <source>Completion sound</source>
        <translation>Klang bei Abschluss</translation>
    </message>
    <message>
        <source>When a queue has &amp;failures:</source>
        <translation>Wenn es in einer Warteschlange &amp;Fehler gab:</translation>
    </message>
    <message>
        <source>Failure sound</source>
        <translation>Klang bei Fehlern</translation>
    </message>
    <message>
        <source>None</source>
        <translation>Keiner</translation>
    </message>
</context>
<context>
    <name>ZKProgressPrinter</name>
    <message>
        <source>(attempt %1 of %2)</source>
        <translation>(Versuch %1 von %2)</translation>
    </message>
    <message>
        <source>Skipped: %1</source>
        <translation>Übersprungen: %1</translation>
    </message>
    <message numerus="yes">
        <source>%n more tasks not shown</source>
        <translation>
            <numerusform>%n weitere Aufgabe nicht angezeigt</numerusform>
            <numerusform>%n weitere Aufgaben nicht angezeigt</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>ZKPropertyListErrors</name>
    <message>
        <source>The property &apos;Type&apos; was not found in the property list.</source>
        <translation>Die Eigenschaft „Type“ wurde in der Eigenschaftsliste nicht gefunden.</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is not recognised as a valid class name.</source>
        <translation>„%1“ ist kein bekannter gültiger Klassenname.</translation>
    </message>
    <message>
        <source>The &apos;%1&apos; class does not support initialisation from a property list.</source>
        <translation>Die Klasse „%1“ kann nicht aus einer Eigenschaftsliste erzeugt werden.</translation>
    </message>
    <message>
        <source>A text contains a null character, which a property list cannot hold.</source>
        <translation>Ein Text enthält ein Nullzeichen, das eine Eigenschaftsliste nicht aufnehmen kann.</translation>
    </message>
    <message>
        <source>The property list contains an invalid date.</source>
        <translation>Die Eigenschaftsliste enthält ein ungültiges Datum.</translation>
    </message>
    <message>
        <source>The date %1 lies outside the range a property list can hold.</source>
        <translation>Das Datum %1 liegt außerhalb des Bereichs, den eine Eigenschaftsliste aufnehmen kann.</translation>
    </message>
    <message>
        <source>A dictionary key contains a null character, which a property list cannot hold.</source>
        <translation>Ein Wörterbuchschlüssel enthält ein Nullzeichen, das eine Eigenschaftsliste nicht aufnehmen kann.</translation>
    </message>
    <message>
        <source>The property list contains a value of type &apos;%1&apos;, which cannot be saved.</source>
        <translation>Die Eigenschaftsliste enthält einen Wert vom Typ „%1“, der nicht gespeichert werden kann.</translation>
    </message>
    <message>
        <source>The property list contains a value of type &apos;none&apos;, which cannot be saved.</source>
        <translation>Die Eigenschaftsliste enthält einen Wert vom Typ „none“, der nicht gespeichert werden kann.</translation>
    </message>
    <message>
        <source>The property list nests containers more than %1 levels deep.</source>
        <translation>Die Eigenschaftsliste verschachtelt Container mehr als %1 Ebenen tief.</translation>
    </message>
    <message>
        <source>The property list could not be written as XML.</source>
        <translation>Die Eigenschaftsliste konnte nicht als XML geschrieben werden.</translation>
    </message>
    <message>
        <source>The property list could not be written in binary form.</source>
        <translation>Die Eigenschaftsliste konnte nicht in Binärform geschrieben werden.</translation>
    </message>
    <message>
        <source>The property list data is empty.</source>
        <translation>Die Daten der Eigenschaftsliste sind leer.</translation>
    </message>
    <message>
        <source>The property list data is %1 bytes long, more than the %2 bytes that can be read.</source>
        <translation>Die Daten der Eigenschaftsliste sind %1 Bytes lang, mehr als die %2 Bytes, die gelesen werden können.</translation>
    </message>
    <message>
        <source>The property list data is not well-formed XML.</source>
        <translation>Die Daten der Eigenschaftsliste sind kein wohlgeformtes XML.</translation>
    </message>
    <message>
        <source>The data is not a readable property list.</source>
        <translation>Die Daten sind keine lesbare Eigenschaftsliste.</translation>
    </message>
    <message>
        <source>The property list data ends before its elements are closed; it may be truncated.</source>
        <translation>Die Daten der Eigenschaftsliste enden, bevor ihre Elemente geschlossen sind; sie sind möglicherweise abgeschnitten.</translation>
    </message>
    <message>
        <source>The binary property list is damaged.</source>
        <translation>Die binäre Eigenschaftsliste ist beschädigt.</translation>
    </message>
    <message>
        <source>The binary property list contains a container that includes itself.</source>
        <translation>Die binäre Eigenschaftsliste enthält einen Container, der sich selbst enthält.</translation>
    </message>
    <message>
        <source>The binary property list refers to the same containers too often to be read safely.</source>
        <translation>Die binäre Eigenschaftsliste verweist zu oft auf dieselben Container, um sicher gelesen zu werden.</translation>
    </message>
    <message>
        <source>The property list contains a date outside the readable range.</source>
        <translation>Die Eigenschaftsliste enthält ein Datum außerhalb des lesbaren Bereichs.</translation>
    </message>
    <message>
        <source>The property list could not be read.</source>
        <translation>Die Eigenschaftsliste konnte nicht gelesen werden.</translation>
    </message>
    <message>
        <source>The property list contains a value of a kind that cannot be read.</source>
        <translation>Die Eigenschaftsliste enthält einen Wert einer Art, die nicht gelesen werden kann.</translation>
    </message>
    <message>
        <source>%1 (at &apos;%2&apos;)</source>
        <translation>%1 (bei „%2“)</translation>
    </message>
</context>
<context>
    <name>ZKQueueFile</name>
    <message>
        <source>The file was changed since the queue last saved into it</source>
        <translation>Die Datei wurde geändert, seit die Warteschlange zuletzt in sie gespeichert hat</translation>
    </message>
    <message>
        <source>It is not a dictionary.</source>
        <translation>Er ist kein Wörterbuch.</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is not a kind of task.</source>
        <translation>„%1“ ist keine Art von Aufgabe.</translation>
    </message>
    <message>
        <source>Its &quot;%1&quot; is missing or not a dictionary.</source>
        <translation>Sein „%1“ fehlt oder ist kein Wörterbuch.</translation>
    </message>
    <message>
        <source>Its &quot;%1&quot; cannot be re-created: %2</source>
        <translation>Sein „%1“ kann nicht neu erzeugt werden: %2</translation>
    </message>
    <message>
        <source>it is of the wrong kind.</source>
        <translation>Es ist von der falschen Art.</translation>
    </message>
    <message>
        <source>It cannot be re-created.</source>
        <translation>Er kann nicht neu erzeugt werden.</translation>
    </message>
</context>
<context>
    <name>ZKQueueFileErrors</name>
    <message>
        <source>The queue &quot;%1&quot; cannot be opened: %2.</source>
        <translation>Die Warteschlange „%1“ kann nicht geöffnet werden: %2.</translation>
    </message>
    <message>
        <source>Unable to save the queue &quot;%1&quot;: %2.</source>
        <translation>Die Warteschlange „%1“ kann nicht gespeichert werden: %2.</translation>
    </message>
    <message>
        <source>The queue has never been saved.</source>
        <translation>Die Warteschlange wurde nie gespeichert.</translation>
    </message>
    <message>
        <source>the file is too large to be a queue</source>
        <translation>die Datei ist zu groß für eine Warteschlange</translation>
    </message>
    <message>
        <source>it is not a Ferrowick queue</source>
        <translation>sie ist keine Ferrowick-Warteschlange</translation>
    </message>
    <message>
        <source>the entry &quot;%1&quot; has the wrong type</source>
        <translation>der Eintrag „%1“ hat den falschen Typ</translation>
    </message>
    <message>
        <source>the entry &quot;%1&quot; %2%3</source>
        <translation>der Eintrag „%1“ %2%3</translation>
    </message>
    <message>
        <source>the entry &quot;%1&quot; of the speed limit %2%3</source>
        <translation>der Eintrag „%1“ der Geschwindigkeitsbegrenzung %2%3</translation>
    </message>
    <message>
        <source>the entry &quot;%1&quot; of task %2 %3%4</source>
        <translation>der Eintrag „%1“ von Aufgabe %2 %3%4</translation>
    </message>
    <message>
        <source>has the wrong type</source>
        <translation>hat den falschen Typ</translation>
    </message>
    <message>
        <source>is not a finite number</source>
        <translation>ist keine endliche Zahl</translation>
    </message>
    <message>
        <source>is negative</source>
        <translation>ist negativ</translation>
    </message>
    <message>
        <source>is not a whole number</source>
        <translation>ist keine ganze Zahl</translation>
    </message>
    <message>
        <source>is out of range</source>
        <translation>liegt außerhalb des Bereichs</translation>
    </message>
</context>
<context>
    <name>ZKQueueRunner</name>
    <message>
        <source>interrupted.</source>
        <translation>unterbrochen.</translation>
    </message>
    <message>
        <source>1 task did not finish, and no queue file keeps it (see --save). What it copied so far stays in %1; its source stays where it is.</source>
        <translation>1 Aufgabe wurde nicht beendet, und keine Warteschlangendatei bewahrt sie auf (siehe --save). Was sie bisher kopiert hat, bleibt in %1; ihre Quelle bleibt, wo sie ist.</translation>
    </message>
    <message>
        <source>%1 tasks did not finish, and no queue file keeps them (see --save). What they copied so far stays in %2; their sources stay where they are.</source>
        <translation>%1 Aufgaben wurden nicht beendet, und keine Warteschlangendatei bewahrt sie auf (siehe --save). Was sie bisher kopiert haben, bleibt in %2; ihre Quellen bleiben, wo sie sind.</translation>
    </message>
    <message>
        <source>The source of “%1” was being removed: what is left of it stays, and all of it is in %2.</source>
        <translation>Die Quelle von „%1“ wurde gerade entfernt: Was von ihr übrig ist, bleibt, und sie liegt vollständig in %2.</translation>
    </message>
    <message>
        <source>Retrying 1 failed task in %1 (attempt %2 of %3)</source>
        <translation>1 fehlgeschlagene Aufgabe wird in %1 wiederholt (Versuch %2 von %3)</translation>
    </message>
    <message numerus="yes">
        <source>Retrying %n failed tasks in %1 (attempt %2 of %3)</source>
        <translation>
            <numerusform>%n fehlgeschlagene Aufgabe wird in %1 wiederholt (Versuch %2 von %3)</numerusform>
            <numerusform>%n fehlgeschlagene Aufgaben werden in %1 wiederholt (Versuch %2 von %3)</numerusform>
        </translation>
    </message>
    <message>
        <source>interrupted; saving the queue.</source>
        <translation>unterbrochen; die Warteschlange wird gesichert.</translation>
    </message>
</context>
<context>
    <name>ZKQueueScriptingAdaptor</name>
    <message>
        <source>No queue numbered %1 is open; ListQueues gives the numbers of the open ones.</source>
        <translation>Keine Warteschlange mit der Nummer %1 ist geöffnet; ListQueues nennt die Nummern der geöffneten.</translation>
    </message>
    <message>
        <source>The option “%1” must be true or false.</source>
        <translation>Die Option „%1“ muss true oder false sein.</translation>
    </message>
    <message>
        <source>No sources were given.</source>
        <translation>Es wurden keine Quellen angegeben.</translation>
    </message>
    <message>
        <source>“%1” must be an absolute path: Ferrowick does not run in the script&apos;s folder.</source>
        <translation>„%1“ muss ein absoluter Pfad sein: Ferrowick läuft nicht im Ordner des Skripts.</translation>
    </message>
    <message>
        <source>“%1” is not a file, folder, FTP, SFTP or web address.</source>
        <translation>„%1“ ist weder eine Datei noch ein Ordner oder eine FTP-, SFTP- oder Web-Adresse.</translation>
    </message>
    <message>
        <source>There is no file or folder “%1”.</source>
        <translation>Es gibt keine Datei und keinen Ordner „%1“.</translation>
    </message>
    <message>
        <source>No destination folder was given.</source>
        <translation>Es wurde kein Zielordner angegeben.</translation>
    </message>
    <message>
        <source>“%1” is a file, not a folder.</source>
        <translation>„%1“ ist eine Datei, kein Ordner.</translation>
    </message>
    <message>
        <source>The folder “%1” cannot be made.</source>
        <translation>Der Ordner „%1“ kann nicht erstellt werden.</translation>
    </message>
    <message>
        <source>“%1” cannot be a destination folder.</source>
        <translation>„%1“ kann kein Zielordner sein.</translation>
    </message>
    <message>
        <source>“%1” cannot be a destination folder: %2</source>
        <translation>„%1“ kann kein Zielordner sein: %2</translation>
    </message>
    <message>
        <source>The option “mode” must be “copy” or “move”.</source>
        <translation>Die Option „mode“ muss „copy“ oder „move“ sein.</translation>
    </message>
    <message>
        <source>There is no option “%1”; the options are “mode”, “verify” and “create-destination”.</source>
        <translation>Es gibt keine Option „%1“; die Optionen sind „mode“, „verify“ und „create-destination“.</translation>
    </message>
    <message>
        <source>There is no folder “%1”; the option “create-destination” makes it.</source>
        <translation>Es gibt keinen Ordner „%1“; die Option „create-destination“ erstellt ihn.</translation>
    </message>
</context>
<context>
    <name>ZKQueueSheet</name>
    <message>
        <source>Done</source>
        <translation>Fertig</translation>
    </message>
</context>
<context>
    <name>ZKQueueWindow</name>
    <message>
        <source>Ferrowick queues (*.queue)</source>
        <translation>Ferrowick-Warteschlangen (*.queue)</translation>
    </message>
    <message>
        <source>Add Server Address...</source>
        <translation>Server-Adresse hinzufügen …</translation>
    </message>
    <message>
        <source>Queue summary</source>
        <translation>Übersicht der Warteschlange</translation>
    </message>
    <message>
        <source>Data summary</source>
        <translation>Übersicht der Daten</translation>
    </message>
    <message numerus="yes">
        <source>And %n more.</source>
        <translation>
            <numerusform>Und %n weiteres.</numerusform>
            <numerusform>Und %n weitere.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n items were not added:</source>
        <translation>
            <numerusform>%n Objekt wurde nicht hinzugefügt:</numerusform>
            <numerusform>%n Objekte wurden nicht hinzugefügt:</numerusform>
        </translation>
    </message>
    <message>
        <source>The queue “%1” could not be saved.</source>
        <translation>Die Warteschlange „%1“ konnte nicht gespeichert werden.</translation>
    </message>
    <message>
        <source>Save Queue</source>
        <translation>Warteschlange speichern</translation>
    </message>
    <message>
        <source>Ferrowick</source>
        <translation>Ferrowick</translation>
    </message>
    <message>
        <source>Revert to the saved queue “%1”?</source>
        <translation>Zur gespeicherten Warteschlange „%1“ zurückkehren?</translation>
    </message>
    <message>
        <source>The changes made since it was last saved will be lost.</source>
        <translation>Die Änderungen seit dem letzten Speichern gehen verloren.</translation>
    </message>
    <message>
        <source>Revert</source>
        <translation>Wiederherstellen</translation>
    </message>
    <message>
        <source>The queue “%1” could not be reverted.</source>
        <translation>Die Warteschlange „%1“ konnte nicht wiederhergestellt werden.</translation>
    </message>
    <message>
        <source>Notice</source>
        <translation>Hinweis</translation>
    </message>
    <message>
        <source>Dismiss</source>
        <translation>Ausblenden</translation>
    </message>
    <message>
        <source>Save the changes to the queue “%1” before closing?</source>
        <translation>Änderungen an der Warteschlange „%1“ vor dem Schließen speichern?</translation>
    </message>
    <message>
        <source>Its tasks and their progress are lost if you don&apos;t save them.</source>
        <translation>Ihre Aufgaben und deren Fortschritt gehen verloren, wenn Sie sie nicht speichern.</translation>
    </message>
    <message>
        <source>The changes since it was last saved are lost if you don&apos;t save them; the progress of its tasks is kept.</source>
        <translation>Die Änderungen seit dem letzten Speichern gehen verloren, wenn Sie sie nicht speichern; der Fortschritt ihrer Aufgaben bleibt erhalten.</translation>
    </message>
    <message>
        <source>Do&amp;n&apos;t Save</source>
        <translation>&amp;Nicht speichern</translation>
    </message>
    <message>
        <source>“%1” is still transferring. Stop it and close?</source>
        <translation>„%1“ überträgt noch. Anhalten und schließen?</translation>
    </message>
    <message>
        <source>Its progress is kept: the transfers go on from there when the queue is opened again.</source>
        <translation>Ihr Fortschritt bleibt erhalten: Die Übertragungen gehen dort weiter, wenn die Warteschlange wieder geöffnet wird.</translation>
    </message>
    <message>
        <source>Stop</source>
        <translation>Anhalten</translation>
    </message>
    <message>
        <source>Tasks</source>
        <translation>Aufgaben</translation>
    </message>
    <message>
        <source>&lt;p style=&apos;font-size:large&apos;&gt;Drop files and folders here&lt;/p&gt;&lt;p&gt;or choose Add to copy files, folders, FTP, SFTP and web addresses&lt;/p&gt;</source>
        <translation>&lt;p style=&apos;font-size:large&apos;&gt;Dateien und Ordner hier ablegen&lt;/p&gt;&lt;p&gt;oder „Hinzufügen“ wählen, um Dateien, Ordner, FTP-, SFTP- und Web-Adressen zu kopieren&lt;/p&gt;</translation>
    </message>
    <message>
        <source>Start</source>
        <translation>Starten</translation>
    </message>
    <message>
        <source>Add Files and Folders...</source>
        <translation>Dateien und Ordner hinzufügen …</translation>
    </message>
    <message>
        <source>Add Web Address...</source>
        <translation>Web-Adresse hinzufügen …</translation>
    </message>
    <message>
        <source>Paste</source>
        <translation>Einfügen</translation>
    </message>
    <message>
        <source>Copy Tasks</source>
        <translation>Aufgaben kopieren</translation>
    </message>
    <message>
        <source>Copy Source Addresses</source>
        <translation>Quelladressen kopieren</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>Speichern</translation>
    </message>
    <message>
        <source>Save As...</source>
        <translation>Speichern unter …</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Beenden</translation>
    </message>
    <message>
        <source>Retry</source>
        <translation>Wiederholen</translation>
    </message>
    <message>
        <source>Retry Failed Tasks</source>
        <translation>Fehlgeschlagene Aufgaben wiederholen</translation>
    </message>
    <message>
        <source>Retry Automatically</source>
        <translation>Automatisch wiederholen</translation>
    </message>
    <message>
        <source>Clear Completed</source>
        <translation>Abgeschlossene entfernen</translation>
    </message>
    <message>
        <source>Clear Failed</source>
        <translation>Fehlgeschlagene entfernen</translation>
    </message>
    <message>
        <source>Clear All</source>
        <translation>Alle entfernen</translation>
    </message>
    <message>
        <source>Clear Automatically</source>
        <translation>Automatisch entfernen</translation>
    </message>
    <message>
        <source>Suspend All</source>
        <translation>Alle anhalten</translation>
    </message>
    <message>
        <source>Resume All</source>
        <translation>Alle fortsetzen</translation>
    </message>
    <message>
        <source>Copy All</source>
        <translation>Alle kopieren</translation>
    </message>
    <message>
        <source>Move All</source>
        <translation>Alle verschieben</translation>
    </message>
    <message>
        <source>Change All Destinations...</source>
        <translation>Alle Ziele ändern …</translation>
    </message>
    <message>
        <source>Verify Copies</source>
        <translation>Kopien überprüfen</translation>
    </message>
    <message>
        <source>Schedule...</source>
        <translation>Zeitplan …</translation>
    </message>
    <message>
        <source>Speed Limit...</source>
        <translation>Geschwindigkeitsbegrenzung …</translation>
    </message>
    <message>
        <source>Copy New Items</source>
        <translation>Neue Objekte kopieren</translation>
    </message>
    <message>
        <source>Move New Items</source>
        <translation>Neue Objekte verschieben</translation>
    </message>
    <message>
        <source>By Name</source>
        <translation>Nach Name</translation>
    </message>
    <message>
        <source>By Destination</source>
        <translation>Nach Ziel</translation>
    </message>
    <message>
        <source>By Size</source>
        <translation>Nach Größe</translation>
    </message>
    <message>
        <source>By Progress</source>
        <translation>Nach Fortschritt</translation>
    </message>
    <message>
        <source>By Work Left</source>
        <translation>Nach verbleibender Arbeit</translation>
    </message>
    <message>
        <source>By Time Left</source>
        <translation>Nach verbleibender Zeit</translation>
    </message>
    <message>
        <source>&amp;File</source>
        <translation>&amp;Datei</translation>
    </message>
    <message>
        <source>&amp;Edit</source>
        <translation>&amp;Bearbeiten</translation>
    </message>
    <message>
        <source>&amp;Queue</source>
        <translation>&amp;Warteschlange</translation>
    </message>
    <message>
        <source>Sort</source>
        <translation>Sortieren</translation>
    </message>
    <message>
        <source>&amp;Help</source>
        <translation>&amp;Hilfe</translation>
    </message>
    <message>
        <source>Ferrowick Help</source>
        <translation>Ferrowick-Handbuch</translation>
    </message>
    <message>
        <source>Send Feedback...</source>
        <translation>Rückmeldung senden …</translation>
    </message>
    <message>
        <source>Ferrowick Website</source>
        <translation>Ferrowick-Website</translation>
    </message>
    <message>
        <source>Queue</source>
        <translation>Warteschlange</translation>
    </message>
    <message>
        <source>Add</source>
        <translation>Hinzufügen</translation>
    </message>
    <message>
        <source>Add files and folders (hold for more)</source>
        <translation>Dateien und Ordner hinzufügen (gedrückt halten für mehr)</translation>
    </message>
    <message>
        <source>Clear</source>
        <translation>Entfernen</translation>
    </message>
    <message>
        <source>Schedule</source>
        <translation>Zeitplan</translation>
    </message>
    <message>
        <source>Speed limit</source>
        <translation>Geschwindigkeitsbegrenzung</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Kopieren</translation>
    </message>
    <message>
        <source>Move</source>
        <translation>Verschieben</translation>
    </message>
    <message>
        <source>Transfer mode of new items</source>
        <translation>Übertragungsart neuer Objekte</translation>
    </message>
    <message>
        <source>Copy or move the items added from now on</source>
        <translation>Die ab jetzt hinzugefügten Objekte kopieren oder verschieben</translation>
    </message>
    <message>
        <source> to </source>
        <translation> nach </translation>
    </message>
    <message>
        <source>Default destination</source>
        <translation>Standardziel</translation>
    </message>
    <message>
        <source>Verify</source>
        <translation>Prüfen</translation>
    </message>
    <message>
        <source>Compare every copy with its original</source>
        <translation>Jede Kopie mit ihrem Original vergleichen</translation>
    </message>
    <message>
        <source>Verify copies</source>
        <translation>Kopien überprüfen</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>Pausieren</translation>
    </message>
    <message>
        <source>Pause the queue (Space)</source>
        <translation>Die Warteschlange pausieren (Leertaste)</translation>
    </message>
    <message>
        <source>Start the queue (Space)</source>
        <translation>Die Warteschlange starten (Leertaste)</translation>
    </message>
    <message>
        <source>The clipboard holds no files, folders or addresses to copy.</source>
        <translation>Die Zwischenablage enthält keine Dateien, Ordner oder Adressen zum Kopieren.</translation>
    </message>
    <message>
        <source>Choose a folder to copy to.</source>
        <translation>Wählen Sie einen Ordner, in den kopiert werden soll.</translation>
    </message>
</context>
<context>
    <name>ZKRemoteServerPanel</name>
    <message>
        <source>Server Address</source>
        <translation>Server-Adresse</translation>
    </message>
    <message>
        <source>ftp:// or sftp://server/folder/</source>
        <translation>ftp:// oder sftp://server/ordner/</translation>
    </message>
    <message>
        <source>anonymous, or from the SSH configuration</source>
        <translation>anonymous oder aus der SSH-Konfiguration</translation>
    </message>
    <message>
        <source>User name</source>
        <translation>Benutzername</translation>
    </message>
    <message>
        <source>&amp;User name:</source>
        <translation>&amp;Benutzername:</translation>
    </message>
    <message>
        <source>Password</source>
        <translation>Passwort</translation>
    </message>
    <message>
        <source>from the password store</source>
        <translation>aus dem Passwortspeicher</translation>
    </message>
    <message>
        <source>&amp;Password:</source>
        <translation>&amp;Passwort:</translation>
    </message>
</context>
<context>
    <name>ZKScheduleSheet</name>
    <message>
        <source>Start copying</source>
        <translation>Kopieren starten</translation>
    </message>
    <message>
        <source>start copying at %1</source>
        <translation>Kopieren starten um %1</translation>
    </message>
    <message>
        <source>Stop copying</source>
        <translation>Kopieren anhalten</translation>
    </message>
    <message>
        <source>stop copying at %1</source>
        <translation>Kopieren anhalten um %1</translation>
    </message>
    <message>
        <source>Start speed limit</source>
        <translation>Begrenzung einschalten</translation>
    </message>
    <message>
        <source>start speed limit at %1</source>
        <translation>Begrenzung einschalten um %1</translation>
    </message>
    <message>
        <source>Stop speed limit</source>
        <translation>Begrenzung ausschalten</translation>
    </message>
    <message>
        <source>stop speed limit at %1</source>
        <translation>Begrenzung ausschalten um %1</translation>
    </message>
    <message>
        <source>Schedule</source>
        <translation>Zeitplan</translation>
    </message>
    <message>
        <source>&amp;Use schedule</source>
        <translation>Zeitplan &amp;verwenden</translation>
    </message>
    <message>
        <source>Use schedule</source>
        <translation>Zeitplan verwenden</translation>
    </message>
    <message>
        <source>Run the times below every day; at least one must be on</source>
        <translation>Die Zeiten unten gelten jeden Tag; mindestens eine muss eingeschaltet sein</translation>
    </message>
    <message>
        <source>Every day at:</source>
        <translation>Jeden Tag um:</translation>
    </message>
    <message>
        <source>%1 at</source>
        <translation>%1 um</translation>
    </message>
    <message>
        <source>Schedule off</source>
        <translation>Zeitplan aus</translation>
    </message>
    <message>
        <source>Schedule on: %1</source>
        <translation>Zeitplan an: %1</translation>
    </message>
    <message>
        <source>, </source>
        <translation>, </translation>
    </message>
</context>
<context>
    <name>ZKSftpConnection</name>
    <message>
        <source>out of memory</source>
        <translation>kein Speicher mehr frei</translation>
    </message>
    <message>
        <source>the server sent no host key</source>
        <translation>der Server hat keinen Rechnerschlüssel gesendet</translation>
    </message>
    <message>
        <source>Enter the passphrase for the key &apos;%1&apos;:</source>
        <translation>Geben Sie die Passphrase für den Schlüssel „%1“ ein:</translation>
    </message>
    <message>
        <source>Enter the password of %1 on %2:</source>
        <translation>Geben Sie das Passwort von %1 auf %2 ein:</translation>
    </message>
    <message>
        <source>it is not connected</source>
        <translation>sie ist nicht verbunden</translation>
    </message>
</context>
<context>
    <name>ZKSftpErrors</name>
    <message>
        <source>&apos;%1&apos; is not an SFTP address.</source>
        <translation>„%1“ ist keine SFTP-Adresse.</translation>
    </message>
    <message>
        <source>Unable to connect to %1: %2</source>
        <translation>Verbindung zu %1 nicht möglich: %2</translation>
    </message>
    <message>
        <source>The SSH handshake with %1 failed: %2</source>
        <translation>Der SSH-Handshake mit %1 ist fehlgeschlagen: %2</translation>
    </message>
    <message>
        <source>The authenticity of host &apos;%1&apos; can&apos;t be established.
%2 key fingerprint is %3.</source>
        <translation>Die Echtheit des Rechners „%1“ kann nicht festgestellt werden.
Der Fingerabdruck des %2-Schlüssels ist %3.</translation>
    </message>
    <message>
        <source>The host key of &apos;%1&apos; has changed: the %2 key it sent (%3) is not the one %4:%5 holds. Someone may be intercepting the connection, or the server&apos;s key was replaced; nothing was sent. If the change is expected, remove line %5 of %4.</source>
        <translation>Der Rechnerschlüssel von „%1“ hat sich geändert: Der gesendete %2-Schlüssel (%3) ist nicht der, den %4:%5 enthält. Möglicherweise hört jemand die Verbindung ab, oder der Schlüssel des Servers wurde ersetzt; es wurde nichts gesendet. Wenn die Änderung erwartet ist, entfernen Sie Zeile %5 aus %4.</translation>
    </message>
    <message>
        <source>The key of &apos;%1&apos; was accepted but could not be recorded: %2</source>
        <translation>Der Schlüssel von „%1“ wurde angenommen, konnte aber nicht gespeichert werden: %2</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is reached through ProxyJump %2 in the SSH configuration, which is not supported yet.</source>
        <translation>„%1“ wird laut SSH-Konfiguration über ProxyJump %2 erreicht, was noch nicht unterstützt wird.</translation>
    </message>
    <message>
        <source>Unable to log in to %1 as &apos;%2&apos;: no key of the agent or of the key files and no password was accepted.</source>
        <translation>Anmeldung bei %1 als „%2“ nicht möglich: Weder ein Schlüssel des Agenten oder der Schlüsseldateien noch ein Passwort wurde angenommen.</translation>
    </message>
    <message>
        <source>%1 offers no SFTP service: %2</source>
        <translation>%1 bietet keinen SFTP-Dienst an: %2</translation>
    </message>
    <message>
        <source>The connection to %1 was lost: %2</source>
        <translation>Die Verbindung zu %1 wurde getrennt: %2</translation>
    </message>
    <message>
        <source>no such file or folder</source>
        <translation>Datei oder Ordner nicht vorhanden</translation>
    </message>
    <message>
        <source>permission denied</source>
        <translation>Zugriff verweigert</translation>
    </message>
    <message>
        <source>the server reported a failure</source>
        <translation>der Server hat einen Fehler gemeldet</translation>
    </message>
    <message>
        <source>the server does not support this</source>
        <translation>der Server unterstützt dies nicht</translation>
    </message>
    <message>
        <source>the server answered with status %1</source>
        <translation>der Server hat mit Status %1 geantwortet</translation>
    </message>
    <message>
        <source>the server did not answer within the time limit (%1 s)</source>
        <translation>der Server hat nicht innerhalb der Zeitgrenze geantwortet (%1 s)</translation>
    </message>
    <message>
        <source>The address &apos;%1&apos; names no file or folder.</source>
        <translation>Die Adresse „%1“ benennt keine Datei und keinen Ordner.</translation>
    </message>
    <message>
        <source>Unable to open &apos;%1&apos; on %2: %3</source>
        <translation>„%1“ auf %2 kann nicht geöffnet werden: %3</translation>
    </message>
    <message>
        <source>Unable to read &apos;%1&apos; on %2: %3</source>
        <translation>„%1“ auf %2 kann nicht gelesen werden: %3</translation>
    </message>
    <message>
        <source>&apos;%1&apos; on %2 ended after %3 of its %4 bytes.</source>
        <translation>„%1“ auf %2 endete nach %3 von %4 Bytes.</translation>
    </message>
    <message>
        <source>Unable to list the folder &apos;%1&apos; on %2: %3</source>
        <translation>Der Ordner „%1“ auf %2 kann nicht aufgelistet werden: %3</translation>
    </message>
    <message>
        <source>the server listed &apos;%1&apos;, which is not a plain name</source>
        <translation>der Server hat „%1“ aufgelistet, was kein einfacher Name ist</translation>
    </message>
    <message>
        <source>Its name is not valid UTF-8, so it cannot be named anywhere else.</source>
        <translation>Sein Name ist kein gültiges UTF-8 und kann daher anderswo nicht benannt werden.</translation>
    </message>
    <message>
        <source>&apos;%1&apos; on %2 is not a regular file, folder or link.</source>
        <translation>„%1“ auf %2 ist weder eine reguläre Datei noch ein Ordner oder eine Verknüpfung.</translation>
    </message>
    <message>
        <source>the folders nest more than %1 deep</source>
        <translation>die Ordner sind mehr als %1 tief verschachtelt</translation>
    </message>
    <message>
        <source>&apos;%1&apos; on %2 is not a folder.</source>
        <translation>„%1“ auf %2 ist kein Ordner.</translation>
    </message>
    <message>
        <source>Unable to create the folder &apos;%1&apos; on %2: %3</source>
        <translation>Der Ordner „%1“ auf %2 kann nicht erstellt werden: %3</translation>
    </message>
    <message>
        <source>Unable to open &apos;%1&apos; on %2 for writing: %3</source>
        <translation>„%1“ auf %2 kann nicht zum Schreiben geöffnet werden: %3</translation>
    </message>
    <message>
        <source>Unable to write &apos;%1&apos; on %2: %3</source>
        <translation>„%1“ auf %2 kann nicht geschrieben werden: %3</translation>
    </message>
    <message>
        <source>Unable to remove &apos;%1&apos; on %2: %3</source>
        <translation>„%1“ auf %2 kann nicht entfernt werden: %3</translation>
    </message>
    <message>
        <source>Unable to rename &apos;%1&apos; to &apos;%2&apos; on %3: %4</source>
        <translation>„%1“ kann auf %3 nicht in „%2“ umbenannt werden: %4</translation>
    </message>
    <message>
        <source>A file named &apos;%1&apos; already exists.</source>
        <translation>Eine Datei namens „%1“ ist bereits vorhanden.</translation>
    </message>
    <message>
        <source>Unable to create the link &apos;%1&apos; on %2: %3</source>
        <translation>Die Verknüpfung „%1“ auf %2 kann nicht erstellt werden: %3</translation>
    </message>
    <message>
        <source>cancelled</source>
        <translation>abgebrochen</translation>
    </message>
</context>
<context>
    <name>ZKSleepManager</name>
    <message>
        <source>Ferrowick copying in progress</source>
        <translation>Ferrowick kopiert gerade</translation>
    </message>
</context>
<context>
    <name>ZKSpeedLimitSheet</name>
    <message>
        <source>Speed Limit</source>
        <translation>Geschwindigkeitsbegrenzung</translation>
    </message>
    <message>
        <source>&amp;Limit the speed of copying</source>
        <translation>Geschwindigkeit beim Kopieren &amp;begrenzen</translation>
    </message>
    <message>
        <source>Limit speed</source>
        <translation>Geschwindigkeit begrenzen</translation>
    </message>
    <message>
        <source>Maximum speed</source>
        <translation>Höchstgeschwindigkeit</translation>
    </message>
    <message>
        <source>Speed limit off</source>
        <translation>Geschwindigkeitsbegrenzung aus</translation>
    </message>
    <message>
        <source>Speed limit on: %1</source>
        <translation>Geschwindigkeitsbegrenzung an: %1</translation>
    </message>
</context>
<context>
    <name>ZKSshConfig</name>
    <message>
        <source>&quot;%1&quot; cannot be read</source>
        <translation>„%1“ kann nicht gelesen werden</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is too large for a configuration</source>
        <translation>„%1“ ist zu groß für eine Konfiguration</translation>
    </message>
    <message>
        <source>a quote is not closed</source>
        <translation>ein Anführungszeichen ist nicht geschlossen</translation>
    </message>
    <message>
        <source>&quot;%1&quot; has no value</source>
        <translation>„%1“ hat keinen Wert</translation>
    </message>
    <message>
        <source>only &quot;Match all&quot; is understood; the block is skipped</source>
        <translation>nur „Match all“ wird verstanden; der Block wird übersprungen</translation>
    </message>
    <message>
        <source>&quot;%1&quot; takes one value</source>
        <translation>„%1“ nimmt einen Wert</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not a port number</source>
        <translation>„%1“ ist keine Portnummer</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is neither yes nor no</source>
        <translation>„%1“ ist weder yes noch no</translation>
    </message>
    <message>
        <source>&quot;%%1&quot; is not a known token</source>
        <translation>„%%1“ ist kein bekanntes Kürzel</translation>
    </message>
    <message>
        <source>the account in &quot;%1&quot; is unknown</source>
        <translation>das Konto in „%1“ ist unbekannt</translation>
    </message>
    <message>
        <source>includes nest deeper than %1 levels</source>
        <translation>Includes sind tiefer als %1 Ebenen verschachtelt</translation>
    </message>
    <message>
        <source>&quot;%1&quot; cannot be searched</source>
        <translation>„%1“ kann nicht durchsucht werden</translation>
    </message>
</context>
<context>
    <name>ZKTaskQuestions</name>
    <message>
        <source>Ferrowick cannot read an item named &apos;%1&apos;.</source>
        <translation>Ferrowick kann ein Objekt namens „%1“ nicht lesen.</translation>
    </message>
    <message>
        <source>Do you want to skip copying this item?</source>
        <translation>Möchten Sie das Kopieren dieses Objekts überspringen?</translation>
    </message>
    <message>
        <source>Ferrowick cannot write to an item named &apos;%1&apos;.</source>
        <translation>Ferrowick kann nicht in ein Objekt namens „%1“ schreiben.</translation>
    </message>
    <message>
        <source>A different item with the name &apos;%1&apos; already exists.</source>
        <translation>Ein anderes Objekt namens „%1“ ist bereits vorhanden.</translation>
    </message>
    <message>
        <source>Do you want to replace the existing item?</source>
        <translation>Möchten Sie das vorhandene Objekt ersetzen?</translation>
    </message>
    <message>
        <source>Skip</source>
        <translation>Überspringen</translation>
    </message>
    <message>
        <source>Replace</source>
        <translation>Ersetzen</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
</context>
<context>
    <name>ZKTaskQueue</name>
    <message>
        <source>%1 of %2 complete</source>
        <translation>%1 von %2 fertig</translation>
    </message>
    <message>
        <source>%1, %2 failed</source>
        <translation>%1, %2 fehlgeschlagen</translation>
    </message>
    <message>
        <source>%1 remaining</source>
        <translation>noch %1</translation>
    </message>
</context>
<context>
    <name>ZKTaskRegistry</name>
    <message>
        <source>“%1” is already queued for this destination in “%2”.</source>
        <translation>„%1“ steht für dieses Ziel bereits in „%2“ an.</translation>
    </message>
    <message>
        <source>“%1” is given more than once for this destination.</source>
        <translation>„%1“ ist für dieses Ziel mehr als einmal angegeben.</translation>
    </message>
</context>
<context>
    <name>ZKTaskView</name>
    <message>
        <source>Suspend</source>
        <translation>Anhalten</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Progress</source>
        <translation>Fortschritt</translation>
    </message>
    <message>
        <source>Resume</source>
        <translation>Fortsetzen</translation>
    </message>
    <message>
        <source>Retry</source>
        <translation>Wiederholen</translation>
    </message>
    <message>
        <source>Show in Folder</source>
        <translation>In Ordner anzeigen</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
    <message>
        <source>%1 “%2”</source>
        <comment>a row&apos;s button: what it does, to which file</comment>
        <translation>%1 „%2“</translation>
    </message>
    <message>
        <source>Progress of “%1”</source>
        <comment>a row&apos;s progress bar, of which file</comment>
        <translation>Fortschritt von „%1“</translation>
    </message>
    <message>
        <source>The transfer has failed.</source>
        <translation>Die Übertragung ist fehlgeschlagen.</translation>
    </message>
    <message>
        <source>The original file will be removed after copying.</source>
        <translation>Die Originaldatei wird nach dem Kopieren entfernt.</translation>
    </message>
    <message>
        <source>The server does not support resuming.</source>
        <translation>Der Server unterstützt kein Fortsetzen.</translation>
    </message>
    <message>
        <source>Replacing</source>
        <translation>Wird ersetzt</translation>
    </message>
    <message>
        <source>Skipping</source>
        <translation>Wird übersprungen</translation>
    </message>
    <message>
        <source>The transfer has been verified succesfully.</source>
        <translation>Die Übertragung wurde erfolgreich überprüft.</translation>
    </message>
    <message numerus="yes">
        <source> and %n other files</source>
        <translation>
            <numerusform> und %n weitere Datei</numerusform>
            <numerusform> und %n weitere Dateien</numerusform>
        </translation>
    </message>
    <message>
        <source>From: </source>
        <translation>Von: </translation>
    </message>
    <message>
        <source>Show Source in Folder</source>
        <translation>Quelle in Ordner anzeigen</translation>
    </message>
    <message>
        <source>Change Source...</source>
        <translation>Quelle ändern …</translation>
    </message>
    <message>
        <source>To: </source>
        <translation>Nach: </translation>
    </message>
    <message>
        <source>Show Destination in Folder</source>
        <translation>Ziel in Ordner anzeigen</translation>
    </message>
    <message>
        <source>Change Destination...</source>
        <translation>Ziel ändern …</translation>
    </message>
    <message>
        <source>Move Up</source>
        <translation>Nach oben</translation>
    </message>
    <message>
        <source>Move to Top</source>
        <translation>Ganz nach oben</translation>
    </message>
    <message>
        <source>Move Down</source>
        <translation>Nach unten</translation>
    </message>
    <message>
        <source>Move to Bottom</source>
        <translation>Ganz nach unten</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Kopieren</translation>
    </message>
    <message>
        <source>Move</source>
        <translation>Verschieben</translation>
    </message>
    <message>
        <source>Choose a folder to copy to.</source>
        <translation>Wählen Sie einen Ordner, in den kopiert werden soll.</translation>
    </message>
</context>
<context>
    <name>ZKTerminalPresenter</name>
    <message>
        <source>Choose 1-%1 (add &apos;a&apos; to apply to all): </source>
        <translation>Auswahl 1–%1 (mit angehängtem „a“ für alle): </translation>
    </message>
    <message>
        <source>Choose 1-%1: </source>
        <translation>Auswahl 1–%1: </translation>
    </message>
</context>
<context>
    <name>ZKTerminalSshPrompter</name>
    <message>
        <source>The authenticity of host &apos;%1&apos; can&apos;t be established.
%2 key fingerprint is %3.
</source>
        <translation>Die Echtheit des Rechners „%1“ kann nicht festgestellt werden.
Der Fingerabdruck des %2-Schlüssels ist %3.
</translation>
    </message>
    <message>
        <source>Are you sure you want to continue connecting (yes/no)? </source>
        <translation>Möchten Sie die Verbindung wirklich fortsetzen (yes/no)? </translation>
    </message>
    <message>
        <source>Please type &apos;yes&apos; or &apos;no&apos;.
</source>
        <translation>Bitte „yes“ oder „no“ eingeben.
</translation>
    </message>
</context>
<context>
    <name>ZKTimeFormatter</name>
    <message>
        <source>indeterminate</source>
        <translation>unbestimmt</translation>
    </message>
    <message>
        <source>less than a second</source>
        <translation>weniger als eine Sekunde</translation>
    </message>
    <message>
        <source>a few seconds</source>
        <translation>wenige Sekunden</translation>
    </message>
    <message>
        <source>about a day</source>
        <translation>etwa ein Tag</translation>
    </message>
    <message>
        <source>about %1 days</source>
        <translation>etwa %1 Tage</translation>
    </message>
    <message>
        <source>about an hour</source>
        <translation>etwa eine Stunde</translation>
    </message>
    <message>
        <source>about %1 hours</source>
        <translation>etwa %1 Stunden</translation>
    </message>
    <message numerus="yes">
        <source>about %n seconds</source>
        <translation>
            <numerusform>etwa eine Sekunde</numerusform>
            <numerusform>etwa %n Sekunden</numerusform>
        </translation>
    </message>
    <message>
        <source>about a minute</source>
        <translation>etwa eine Minute</translation>
    </message>
    <message numerus="yes">
        <source>about %n minutes</source>
        <translation>
            <numerusform>etwa eine Minute</numerusform>
            <numerusform>etwa %n Minuten</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>ZKTrustedCertificates</name>
    <message>
        <source>The certificate of %1 is not trusted (%2). Its SHA-256 fingerprint is %3.</source>
        <translation>Dem Zertifikat von %1 wird nicht vertraut (%2). Sein SHA-256-Fingerabdruck ist %3.</translation>
    </message>
</context>
<context>
    <name>ferrowick</name>
    <message>
        <source>Copies and moves files, folders, FTP and web addresses in a queue.
When Ferrowick is running already, the items go to its queue.</source>
        <translation>Kopiert und verschiebt Dateien, Ordner, FTP- und Web-Adressen in einer Warteschlange.
Läuft Ferrowick bereits, kommen die Objekte in dessen Warteschlange.</translation>
    </message>
    <message>
        <source>Start without a window and wait for the desktop to ask for one (used when the session bus starts Ferrowick).</source>
        <translation>Ohne Fenster starten und warten, bis die Arbeitsumgebung eines anfordert (wenn der Sitzungsbus Ferrowick startet).</translation>
    </message>
    <message>
        <source>Open a new, empty queue, also in the Ferrowick that is running.</source>
        <translation>Eine neue, leere Warteschlange öffnen, auch im bereits laufenden Ferrowick.</translation>
    </message>
    <message>
        <source>Copy the items given, even into a queue that moves new items.</source>
        <translation>Die angegebenen Objekte kopieren, auch in eine Warteschlange, die neue Objekte verschiebt.</translation>
    </message>
    <message>
        <source>Move the items given: each source is removed once its copy is whole. Web addresses are copied.</source>
        <translation>Die angegebenen Objekte verschieben: Jede Quelle wird entfernt, sobald ihre Kopie vollständig ist. Web-Adressen werden kopiert.</translation>
    </message>
    <message>
        <source>Queue files to open, or files, folders and ftp, http or https addresses to copy.</source>
        <translation>Zu öffnende Warteschlangendateien oder zu kopierende Dateien, Ordner und ftp-, http- oder https-Adressen.</translation>
    </message>
    <message>
        <source>[FILE.queue | ITEM...]</source>
        <translation>[DATEI.queue | OBJEKT …]</translation>
    </message>
    <message>
        <source>--copy and --move exclude each other.</source>
        <translation>--copy und --move schließen einander aus.</translation>
    </message>
    <message>
        <source>--move needs the files or folders to move.</source>
        <translation>--move braucht die zu verschiebenden Dateien oder Ordner.</translation>
    </message>
    <message>
        <source>--copy needs the files or folders to copy.</source>
        <translation>--copy braucht die zu kopierenden Dateien oder Ordner.</translation>
    </message>
    <message>
        <source>the running Ferrowick did not answer (%1); starting another one.</source>
        <translation>das laufende Ferrowick hat nicht geantwortet (%1); ein weiteres wird gestartet.</translation>
    </message>
</context>
</TS>
