#pragma once

/// Chooses what Qt Quick draws with: the graphics processor where the machine has one whose driver is not a software
/// one, else Qt's own software renderer, which needs a sixth of the time of software OpenGL. A choice made in the
/// environment (QT_QUICK_BACKEND, QSG_RHI_BACKEND) stands. Called once, after the application object was made and
/// before its first window.
void chooseRenderer();
