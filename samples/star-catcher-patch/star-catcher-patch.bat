@echo off
rem The deluxe edition's patch: run after the game is installed.
echo Star Catcher 1.0 Deluxe>"C:\Program Files\Star Catcher\version.txt"
