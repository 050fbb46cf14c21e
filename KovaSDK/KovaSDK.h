// The host application's one include.

#pragma once
