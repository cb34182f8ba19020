@start "" "%ProgramFiles(x86)%\Tolvane\Player\VelmoraPlayer.exe" /tray
