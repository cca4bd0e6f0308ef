"""Talks with a vendor's program as the clients do, and keeps what both have said."""
