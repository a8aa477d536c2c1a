<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>ZKCopyTask</name>
    <message>
        <source>Do you want to delete the partially copied file &apos;%1&apos;?</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ZKDesktopSshPrompter</name>
    <message>
        <source>Ferrowick</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The authenticity of host &apos;%1&apos; can&apos;t be established.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 key fingerprint is %2.

Connect only if you know this is the server&apos;s key; it is then remembered in ~/.ssh/known_hosts, as ssh does.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Connect</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Remember in the password store</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ZKDocumentController</name>
    <message>
        <source>Ferrowick</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The queue “%1” could not be opened.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open Queue</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ferrowick queues (*.queue)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This queue was recovered after Ferrowick stopped unexpectedly. Save it to keep it.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ZKEndpointErrors</name>
    <message>
        <source>Invalid path: &apos;%1&apos;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to create the folder &apos;%1&apos;: a symbolic link stands in its place.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to create &apos;%1&apos;: a symbolic link stands in its place.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to open &apos;%1&apos; as a file.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to create &apos;%1&apos;: %2.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to open &apos;%1&apos;: %2.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to open &apos;%1&apos;: it is not a regular file.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to seek to end of file &apos;%1&apos;: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to access &apos;%1&apos;: another process is writing to the file.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to write data to unopened file &apos;%1&apos;.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to write data to &apos;%1&apos;: %2.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cannot create a directory in &apos;%1&apos;.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cannot create a file in &apos;%1&apos;.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cannot create a symbolic link in &apos;%1&apos;.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to create the folder &apos;%1&apos;: %2.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to create the symbolic link &apos;%1&apos;: %2.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to remove &apos;%1&apos;: %2.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A file named &apos;%1&apos; already exists.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to rename &apos;%1&apos;: %2.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Invalid file path: &apos;%1&apos;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to determine the size of &apos;%1&apos;: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to resolve symbolic link &apos;%1&apos;: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to read from &apos;%1&apos;: %2.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to read from &apos;%1&apos;: the block is too large.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to read from &apos;%1&apos;: the file became shorter while it was read (%2 bytes expected, it ends at %3).</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The name of &apos;%1&apos; is not valid UTF-8.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&apos;%1&apos; is not a regular file, folder or link.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The target of the link &apos;%1&apos; is not valid UTF-8.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Invalid url: &apos;%1&apos;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The server at %1 sent bytes of an invalid range.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The server at %1 sent bytes from %2 on when asked for bytes from %3 on.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The server answered %1 for &apos;%2&apos;.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The connection to %1 closed after %2 of %3 bytes.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Timed out waiting for response from %1.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Timed out waiting for data from %1.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ZKFileBrowser</name>
    <message>
        <source>“%1” cannot be shown: no file manager answered, and no program opened the folder “%2”.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ZKFtpErrors</name>
    <message>
        <source>No host specified.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Released connection too many times.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cannot send request: client is not connected.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cannot send request: the parameter of %1 holds a line break or a NUL character.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The server did not answer within the time limit (%1 s).</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cannot read response: client is not connected.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The server closed the connection.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to parse response &apos;%1&apos;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to parse response &apos;%1&apos;: a passive address is six numbers from 0 to 255 naming a port</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The server did not accept renaming &apos;%1&apos;: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The server did not finish renaming &apos;%1&apos; to &apos;%2&apos;: %3</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The server sent a listing that is not valid UTF-8.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Invalid response from ftp server: &apos;%1&apos;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Error code %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>socket is not connected</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The server took no data within the time limit (%1 s).</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&apos;%1&apos; is not a network address</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unrecognised host name &apos;%1&apos;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sending over TLS failed: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Receiving over TLS failed: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The TLS handshake with %1 failed: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Timed out while sending: %1 bytes were never taken</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>the connection was cut</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>it sent none</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to connect to %1: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to log in to %1: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>unknown error</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Invalid url: &apos;%1&apos;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No file or folder specified: &apos;%1&apos;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to find path &apos;%1&apos;: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to open file &apos;%1&apos;: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to open file &apos;%1&apos;: No such file or directory</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to read file &apos;%1&apos;: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to read file &apos;%1&apos;: the data connection closed after %2 of %3 bytes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to list files in the top folder of %1: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to list files in directory &apos;/%1&apos; on %2: %3</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>the server listed the entry &apos;%1&apos;, which is not a plain file name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>the folders nest more than %1 levels deep</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No folder specified: &apos;%1&apos;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to create directory &apos;%1&apos;: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to write to file &apos;%1&apos;: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to write to file &apos;%1&apos;: the server holds %2 bytes of %3</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to write to file &apos;%1&apos;: the file is not open for writing</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cannot create a directory in &apos;%1&apos;.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cannot create a file in &apos;%1&apos;.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cannot create a symbolic link at &apos;%1&apos;.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cannot remove a file from &apos;%1&apos;.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cannot rename a file in &apos;%1&apos;.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to remove file &apos;%1&apos;: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A file named &apos;%1&apos; already exists.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to rename &apos;%1&apos; to &apos;%2&apos;: %3</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>cancelled</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to remove contents of directory &apos;%1&apos;: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to remove directory &apos;%1&apos;: the folders nest too deeply</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to remove directory &apos;%1&apos;: %2</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ZKKnownHosts</name>
    <message>
        <source>&quot;%1&quot; cannot be recorded as a host name.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Keys of this type cannot be recorded.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The key for %1 cannot be written as an entry.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cannot open %1: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cannot write to %1: %2</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ZKListView</name>
    <message>
        <source>Task list</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ZKMessageBoxPresenter</name>
    <message>
        <source>Ferrowick</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Apply to all</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ZKNotificationManager</name>
    <message>
        <source>Failed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Completed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>1 task failed.</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>%n tasks failed.</source>
        <translation type="unfinished">
            <numerusform></numerusform>
            <numerusform></numerusform>
        </translation>
    </message>
    <message>
        <source>Show in Folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Retry</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ZKOperationErrors</name>
    <message>
        <source>A file named &apos;%1&apos; already exists.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cannot copy the folder &apos;%1&apos; into &apos;%2&apos;, which is inside it.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to open &apos;%1&apos;.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Invalid path: &apos;%1&apos;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A folder already exists with the name &apos;%1&apos;.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to read &apos;%1&apos;.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to write &apos;%1&apos;.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cannot create a symbolic link in &apos;%1&apos;.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cannot create a directory in &apos;%1&apos;.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cannot create a file in &apos;%1&apos;.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to copy &apos;%1&apos;: it changed while it was copied. The copy was removed, to be made anew.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to rename &apos;%1&apos; to &apos;%2&apos;.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to access &apos;%1&apos;: another process is writing to the file.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to write data to &apos;%1&apos;: unknown error.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to read from &apos;%1&apos;: no data.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to remove &apos;%1&apos;.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Verification failed: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Verification failed: &apos;%1&apos; could not be found.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Verification failed: Unable to open &apos;%1&apos;.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Verification failed: cannot compare a file to a directory.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Verification failed: cannot compare a link with a file.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Verification failed: Symbolic link &apos;%1&apos; is expected to point to &apos;%2&apos; but points to &apos;%3&apos;.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Verification failed: files are different sizes.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Verification failed: Unable to resume at byte %1.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Verification failed: &apos;%1&apos; ended early.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Verification failed: file contents differ.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cannot remove files because %1 was not copied.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cannot remove files because %1 is both the source and destination.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cannot remove files because %1 is not the same size as %2.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cannot remove files because %1 is not the same as %2.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ZKPreferencesWindow</name>
    <message>
        <source>%1 (not found)</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ZKPropertyListErrors</name>
    <message>
        <source>The property &apos;Type&apos; was not found in the property list.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&apos;%1&apos; is not recognised as a valid class name.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The &apos;%1&apos; class does not support initialisation from a property list.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A text contains a null character, which a property list cannot hold.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The property list contains an invalid date.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The date %1 lies outside the range a property list can hold.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A dictionary key contains a null character, which a property list cannot hold.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The property list contains a value of type &apos;%1&apos;, which cannot be saved.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The property list contains a value of type &apos;none&apos;, which cannot be saved.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The property list nests containers more than %1 levels deep.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The property list could not be written as XML.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The property list could not be written in binary form.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The property list data is empty.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The property list data is %1 bytes long, more than the %2 bytes that can be read.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The property list data is not well-formed XML.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The data is not a readable property list.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The property list data ends before its elements are closed; it may be truncated.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The binary property list is damaged.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The binary property list contains a container that includes itself.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The binary property list refers to the same containers too often to be read safely.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The property list contains a date outside the readable range.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The property list could not be read.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The property list contains a value of a kind that cannot be read.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 (at &apos;%2&apos;)</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ZKQueueFile</name>
    <message>
        <source>The file was changed since the queue last saved into it</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ZKQueueFileErrors</name>
    <message>
        <source>The queue &quot;%1&quot; cannot be opened: %2.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to save the queue &quot;%1&quot;: %2.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The queue has never been saved.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>the file is too large to be a queue</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>it is not a Ferrowick queue</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>the entry &quot;%1&quot; has the wrong type</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>the entry &quot;%1&quot; %2%3</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>the entry &quot;%1&quot; of the speed limit %2%3</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>the entry &quot;%1&quot; of task %2 %3%4</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>has the wrong type</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>is not a finite number</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>is negative</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>is not a whole number</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>is out of range</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ZKQueueRunner</name>
    <message>
        <source>interrupted.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>1 task did not finish, and no queue file keeps it (see --save). What it copied so far stays in %1; its source stays where it is.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 tasks did not finish, and no queue file keeps them (see --save). What they copied so far stays in %2; their sources stay where they are.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The source of “%1” was being removed: what is left of it stays, and all of it is in %2.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ZKQueueScriptingAdaptor</name>
    <message>
        <source>No queue numbered %1 is open; ListQueues gives the numbers of the open ones.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The option “mode” must be ǌopy” or “move”.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The option “%1” must be true or false.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>There is no option “%1”; the options are “mode”, “verify” and ǌreate-destination”.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No sources were given.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>“%1” must be an absolute path: Ferrowick does not run in the script&apos;s folder.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>“%1” is not a file, folder, FTP, SFTP or web address.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>There is no file or folder “%1”.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No destination folder was given.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>“%1” is a file, not a folder.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>There is no folder “%1”; the option ǌreate-destination” makes it.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The folder “%1” cannot be made.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>“%1” cannot be a destination folder.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>“%1” cannot be a destination folder: %2</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ZKQueueWindow</name>
    <message>
        <source>Ferrowick queues (*.queue)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add Server Address...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Queue summary</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Data summary</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>And %n more.</source>
        <translation type="unfinished">
            <numerusform></numerusform>
            <numerusform></numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n items were not added:</source>
        <translation type="unfinished">
            <numerusform></numerusform>
            <numerusform></numerusform>
        </translation>
    </message>
    <message>
        <source>The queue “%1” could not be saved.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Save Queue</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ferrowick</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Revert to the saved queue “%1”?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The changes made since it was last saved will be lost.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Revert</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The queue “%1” could not be reverted.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Notice</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Dismiss</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Save the changes to the queue “%1” before closing?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Its tasks and their progress are lost if you don&apos;t save them.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The changes since it was last saved are lost if you don&apos;t save them; the progress of its tasks is kept.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Do&amp;n&apos;t Save</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>“%1” is still transferring. Stop it and close?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Its progress is kept: the transfers go on from there when the queue is opened again.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Stop</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ZKRemoteServerPanel</name>
    <message>
        <source>Server Address</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>ftp:// or sftp://server/folder/</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>anonymous, or from the SSH configuration</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ZKSftpConnection</name>
    <message>
        <source>out of memory</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>the server sent no host key</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enter the passphrase for the key &apos;%1&apos;:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enter the password of %1 on %2:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>it is not connected</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ZKSftpErrors</name>
    <message>
        <source>&apos;%1&apos; is not an SFTP address.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to connect to %1: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The SSH handshake with %1 failed: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The authenticity of host &apos;%1&apos; can&apos;t be established.
%2 key fingerprint is %3.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The host key of &apos;%1&apos; has changed: the %2 key it sent (%3) is not the one %4:%5 holds. Someone may be intercepting the connection, or the server&apos;s key was replaced; nothing was sent. If the change is expected, remove line %5 of %4.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The key of &apos;%1&apos; was accepted but could not be recorded: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&apos;%1&apos; is reached through ProxyJump %2 in the SSH configuration, which is not supported yet.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to log in to %1 as &apos;%2&apos;: no key of the agent or of the key files and no password was accepted.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 offers no SFTP service: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The connection to %1 was lost: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>no such file or folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>permission denied</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>the server reported a failure</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>the server does not support this</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>the server answered with status %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>the server did not answer within the time limit (%1 s)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The address &apos;%1&apos; names no file or folder.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to open &apos;%1&apos; on %2: %3</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to read &apos;%1&apos; on %2: %3</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&apos;%1&apos; on %2 ended after %3 of its %4 bytes.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to list the folder &apos;%1&apos; on %2: %3</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>the server listed &apos;%1&apos;, which is not a plain name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Its name is not valid UTF-8, so it cannot be named anywhere else.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&apos;%1&apos; on %2 is not a regular file, folder or link.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>the folders nest more than %1 deep</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&apos;%1&apos; on %2 is not a folder.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to create the folder &apos;%1&apos; on %2: %3</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to open &apos;%1&apos; on %2 for writing: %3</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to write &apos;%1&apos; on %2: %3</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to remove &apos;%1&apos; on %2: %3</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to rename &apos;%1&apos; to &apos;%2&apos; on %3: %4</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A file named &apos;%1&apos; already exists.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to create the link &apos;%1&apos; on %2: %3</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>cancelled</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ZKSshConfig</name>
    <message>
        <source>&quot;%1&quot; cannot be read</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&quot;%1&quot; is too large for a configuration</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>a quote is not closed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&quot;%1&quot; has no value</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>only &quot;Match all&quot; is understood; the block is skipped</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&quot;%1&quot; takes one value</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not a port number</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&quot;%1&quot; is neither yes nor no</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&quot;%%1&quot; is not a known token</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>the account in &quot;%1&quot; is unknown</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>includes nest deeper than %1 levels</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&quot;%1&quot; cannot be searched</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ZKTaskQuestions</name>
    <message>
        <source>Ferrowick cannot read an item named &apos;%1&apos;.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Do you want to skip copying this item?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ferrowick cannot write to an item named &apos;%1&apos;.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A different item with the name &apos;%1&apos; already exists.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Do you want to replace the existing item?</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ZKTaskRegistry</name>
    <message>
        <source>“%1” is already queued for this destination in “%2”.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>“%1” is given more than once for this destination.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ZKTaskView</name>
    <message>
        <source>Suspend</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Progress</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Resume</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Retry</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show in Folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Close</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 “%2”</source>
        <comment>a row&apos;s button: what it does, to which file</comment>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Progress of “%1”</source>
        <comment>a row&apos;s progress bar, of which file</comment>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The transfer has failed.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The original file will be removed after copying.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The server does not support resuming.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Replacing</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Skipping</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The transfer has been verified succesfully.</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source> and %n other files</source>
        <translation type="unfinished">
            <numerusform></numerusform>
            <numerusform></numerusform>
        </translation>
    </message>
    <message>
        <source>From: </source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show Source in Folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Change Source...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>To: </source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show Destination in Folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Change Destination...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Move Up</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Move to Top</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Move Down</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Move to Bottom</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copy</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Move</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Choose a folder to copy to.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ZKTerminalSshPrompter</name>
    <message>
        <source>The authenticity of host &apos;%1&apos; can&apos;t be established.
%2 key fingerprint is %3.
</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Are you sure you want to continue connecting (yes/no)? </source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Please type &apos;yes&apos; or &apos;no&apos;.
</source>
        <translation type="unfinished"></translation>
    </message>
</context>
</TS>
